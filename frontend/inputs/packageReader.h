/// @file
/// Reads a tool package entry by entry.
#pragma once

#include "support/archives.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace velacreate {

/// Refuses entries that a tool package must not have: anything but files and directories, encrypted entries,
/// and unsafe names.
class PackageReader {
public:
    /// @param path       for messages
    /// @param blockSize  bytes per read, also after a skipped entry
    PackageReader(const Descriptor& file, std::string path, std::size_t blockSize);

    /// Goes to the next entry.
    /// @return false at the end
    /// @throw Refusal when the entry is not allowed, or the file is not a zip archive
    /// @throw Failure when only the locale C.UTF-8 can read the name, and is not installed
    bool next();

    /// The name without "./" in front and without a slash at the end.
    const std::string& name() const { return m_name; }
    bool isDirectory() const;
    std::uint64_t size() const;
    archive_entry* header() const { return m_reader.entry(); }

    /// Reads the whole current file.
    /// @throw Refusal when its checksum or size is wrong, or the archive ends too early
    void read(const UseBytes& use);

    /// Reads the current file up to a size.
    /// @throw Refusal when it cannot be unpacked
    std::string readBeginning(std::size_t size);

    /// Refuses the package because of its current entry.
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
