/// @file
/// A network-boot directory to serve.
#pragma once

#include "support/descriptor.h"

#include <string>
#include <vector>

namespace velacreate {

class NetbootDirectory {
public:
    /// Reads the whole archive, sums included.
    /// @throw Refusal when no machine could boot from the directory, or the server could not read it
    explicit NetbootDirectory(std::string path);

    const Descriptor& directory() const { return m_directory; }
    /// Missing boot files. The loader starts without them.
    const std::vector<std::string>& missing() const { return m_missing; }
    /// Such as "the network-boot directory '/x'".
    std::string text() const;

    /// Whether the directory still exists.
    bool isThere() const;

private:
    Descriptor open(const std::string& name) const;
    void requireArchive(const Descriptor& file) const;

    std::string m_path;
    Descriptor m_directory;
    std::vector<std::string> m_missing;
};

} // namespace velacreate
