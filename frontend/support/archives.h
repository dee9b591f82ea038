/// @file
/// Archives, read and written by libarchive.
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

/// @return the reason of libarchive's last failure
std::string problemOf(const Archive& handle);

/// Begins a zip archive without compression.
/// @throw Failure
Archive beginZip(const Descriptor& output);

/// Reads a zip archive entry by entry. Results are libarchive's, such as ARCHIVE_OK and ARCHIVE_EOF.
class ArchiveReader {
public:
    /// @param blockSize  bytes per read, also after a skipped entry
    /// @throw Failure
    ArchiveReader(const Descriptor& file, std::size_t blockSize);

    /// Goes to the next entry. The first call fails for a file in another format. Names marked as UTF-8 are
    /// read as UTF-8 in any locale.
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
