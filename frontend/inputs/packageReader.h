/// @file
/// Reads a tool package entry by entry.
#pragma once

#include "support/archives.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace velacreate {

/// Refuses each entry that a tool package must not have: other than files and directories, encrypted ones,
/// and those with a dangerous name.
class PackageReader {
public:
    /// @param path       for messages
    /// @param blockSize  how much is read at a time, also after a skip
    PackageReader(const Descriptor& file, std::string path, std::size_t blockSize);

    /// Goes to the next entry.
    /// @return false at the end
    /// @throw Refusal, also for another file than a zip archive
    bool next();

    /// The name without "./" in front and without a slash at the end.
    const std::string& name() const { return m_name; }
    bool isDirectory() const;
    std::uint64_t size() const;
    archive_entry* header() const { return m_reader.entry(); }

    using UseBlock = std::function<void(const void* data, std::size_t size)>;
    /// Reads the whole current file.
    /// @throw Refusal when its sum or its size is wrong, or when the archive ends too early
    void read(const UseBlock& use);

    /// Refuses the package for its current entry.
    [[noreturn]] void refuse(const std::string& objection) const;

private:
    void checkKind() const;
    void checkName() const;

    std::string m_path;
    ArchiveReader m_reader;
    std::string m_name;
};

/// @return the name of a tool package for messages
std::string packageText(const std::string& path);

} // namespace velacreate
