#ifndef VELACREATION_DESCRIPTOR_H
#define VELACREATION_DESCRIPTOR_H

#include "keepErrno.h"

#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace VelaCreation {

/// Owns a file descriptor. Closing it keeps errno.
class Descriptor {
public:
    Descriptor(const std::string& path, int flags) : m_number(open(path.c_str(), flags | O_CLOEXEC)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (isOpen()) {
            const KeepErrno keepErrno;
            close(m_number);
        }
    }

    [[nodiscard]] bool isOpen() const { return m_number >= 0; }
    [[nodiscard]] int number() const { return m_number; }

private:
    int m_number;
};

} // namespace VelaCreation

#endif
