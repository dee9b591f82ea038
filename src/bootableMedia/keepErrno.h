#ifndef VELACREATION_KEEPERRNO_H
#define VELACREATION_KEEPERRNO_H

#include <cerrno>

namespace VelaCreation {

/// Restores errno at the end of a scope, so that logging or cleaning up after a failed call does not change
/// the error of a later message.
class KeepErrno {
public:
    KeepErrno() = default;
    KeepErrno(const KeepErrno&) = delete;
    KeepErrno& operator=(const KeepErrno&) = delete;
    ~KeepErrno() { errno = m_errno; }

private:
    int m_errno = errno;
};

} // namespace VelaCreation

#endif
