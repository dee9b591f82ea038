/// @file
/// Archives, as libarchive reads and writes them.
#pragma once

#include "support/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

struct archive;
struct archive_entry;

namespace velacreate {

struct ArchiveCloser {
    void operator()(archive* handle) const;
    void operator()(archive_entry* entry) const;
};
using Archive = std::unique_ptr<archive, ArchiveCloser>;
using ArchiveEntry = std::unique_ptr<archive_entry, ArchiveCloser>;

/// What libarchive has to say of its last call.
std::string problemOf(const Archive& handle);

/// Begins a zip archive that stores and does not pack.
/// @throw Failure
Archive beginZip(const Descriptor& output);

/// An archive, entry by entry. The results are libarchive's, such as ARCHIVE_OK and ARCHIVE_EOF.
class ArchiveReader {
public:
    enum class Format { zip, iso9660 };

    /// @param blockSize  how much is read at a time, also after a skip
    /// @throw Failure
    ArchiveReader(const Descriptor& file, Format format, std::size_t blockSize);

    /// Goes on to the next entry; a file that is no such archive shows at the first. Names that an archive
    /// marks as UTF-8 are so, whatever the locale is.
    int next();

    archive_entry* entry() const { return m_entry; }

    struct Block {
        const void* data;
        std::size_t size;
        std::uint64_t offset;
    };
    /// Reads the next block of the current entry.
    int read(Block& block);

    std::string problem() const;
    int problemNumber() const;

private:
    Descriptor m_file;
    Archive m_archive;
    int m_opened = 0;
    archive_entry* m_entry = nullptr;
};

} // namespace velacreate
