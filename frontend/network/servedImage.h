/// @file
/// An image to serve.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <string>

#include <sys/stat.h>

namespace velacreate {

/// Refuses a file that not everybody on this machine can read, since everybody on the network can fetch it.
/// @param what  for the message, such as "'grub.cfg' in the network-boot directory '/x'"
void requireReadable(const struct stat& about, const std::string& what);

class ServedImage {
public:
    /// @throw Refusal when it is no image, or no machine could start from it
    explicit ServedImage(std::string path);

    const Descriptor& file() const { return m_file; }
    std::uint64_t size() const { return static_cast<std::uint64_t>(m_found.st_size); }
    /// Such as "the image '/x/service.iso'".
    std::string text() const;

    /// @return what is no longer as it was at the beginning, such as "it was replaced"; empty when nothing
    /// has changed
    std::string change() const;
    /// @throw Failure when something has changed while it was copied
    void requireUnchanged() const;

private:
    std::string m_path;
    Descriptor m_file;
    struct stat m_found;
};

} // namespace velacreate
