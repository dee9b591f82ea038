/// @file
/// A tool package, entry by entry.
#pragma once

#include "support/archives.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace velacreate {

/// Reads the entries of a zip archive, and refuses each that a tool package must not have: what is no file
/// and no directory, needs a password, or has a name that is not to be trusted.
class PackageReader {
public:
    /// @param path       for messages
    /// @param blockSize  how much is read at a time, also after a skip
    PackageReader(const Descriptor& file, std::string path, std::size_t blockSize);

    /// Goes on to the next entry.
    /// @return false at the end
    /// @throw Refusal, also when it is no zip archive
    bool next();

    /// Its name, without "./" in front and without a slash at the end.
    const std::string& name() const { return m_name; }
    bool isDirectory() const;
    std::uint64_t size() const;
    archive_entry* header() const { return m_reader.entry(); }

    using UseBlock = std::function<void(const void* data, std::size_t size)>;
    /// Reads the current file whole.
    /// @throw Refusal when its sum or its size is wrong, or the archive ends too early
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

/// How messages name a tool package.
std::string packageText(const std::string& path);

} // namespace velacreate
