/// @file
/// A network-boot directory to serve.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <sys/stat.h>

namespace velacreate {

class NetbootDirectory {
public:
    /// Reads the whole archive, sums included.
    /// @throw Refusal when no machine could boot from the directory, or the server could not read it
    explicit NetbootDirectory(std::string path);

    const Descriptor& directory() const { return m_directory; }
    /// Missing boot files. The loader starts without them.
    std::vector<std::string> missing() const;
    /// @return the size of a file at the beginning, in bytes; 0 when it is missing
    std::uint64_t sizeOf(const std::string& name) const;
    /// Such as "the network-boot directory '/x'".
    std::string text() const;

    /// Calls a function with each file, just opened.
    /// @throw Failure when a file is not the one that was there at the beginning, or was changed before the
    /// function has ended
    void forEachFile(const std::function<void(const std::string& name, const Descriptor& file)>& use) const;

    /// @return what is no longer as it was at the beginning, such as "its directory was replaced"; empty when
    /// nothing has changed
    std::string change() const;

private:
    struct File {
        std::string name;
        std::optional<struct stat> found; ///< nothing when it is missing
    };

    void take(const std::string& name, const Descriptor& file);
    Descriptor open(const std::string& name) const;
    void requireArchive(const Descriptor& file) const;

    std::string m_path;
    Descriptor m_directory;
    std::vector<File> m_files;
};

} // namespace velacreate
