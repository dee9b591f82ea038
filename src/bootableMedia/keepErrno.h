#ifndef VELACREATION_KEEPERRNO_H
#define VELACREATION_KEEPERRNO_H

#include <cerrno>

namespace VelaCreation {

/// Puts errno back at the end of a scope, so that reporting or tidying up after a failed call does not hide
/// its error from a message that is still to come.
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
