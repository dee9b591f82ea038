/// @file
/// The network-boot directory that is served.
#pragma once

#include "support/descriptor.h"

#include <string>
#include <vector>

namespace velacreate {

class NetbootDirectory {
public:
    /// Reads its archive to the end, sums included.
    /// @param path  for messages, too
    /// @throw Refusal when no machine could boot from it, or the server, who has no rights, could not read it
    explicit NetbootDirectory(std::string path);

    const Descriptor& directory() const { return m_directory; }
    /// Boot files that it lacks, though the loader starts without them.
    const std::vector<std::string>& missing() const { return m_missing; }
    /// Such as "the network-boot directory '/x'".
    std::string text() const;

    /// Whether its directory still is somewhere.
    bool isThere() const;

private:
    Descriptor open(const std::string& name) const;
    void requireArchive(const Descriptor& file) const;

    std::string m_path;
    Descriptor m_directory;
    std::vector<std::string> m_missing;
};

} // namespace velacreate
