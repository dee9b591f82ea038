#include "support/archives.h"

#include "support/failure.h"
#include "support/utf8.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>

namespace velacreate {
namespace {
constexpr int WRITE_BLOCK = 1 << 20;
} // namespace

void ArchiveCloser::operator()(archive* handle) const {
    archive_free(handle);
}

void ArchiveCloser::operator()(archive_entry* entry) const {
    archive_entry_free(entry);
}

std::string problemOf(const Archive& handle) {
    const char* text = archive_error_string(handle.get());
    return text != nullptr ? text : "it is damaged";
}

Archive beginZip(const Descriptor& output) {
    Archive handle(archive_write_new());
    if (archive_write_set_format_zip(handle.get()) != ARCHIVE_OK ||
        archive_write_zip_set_compression_store(handle.get()) != ARCHIVE_OK ||
        archive_write_set_bytes_per_block(handle.get(), WRITE_BLOCK) != ARCHIVE_OK ||
        archive_write_set_bytes_in_last_block(handle.get(), 1) != ARCHIVE_OK ||
        archive_write_open_fd(handle.get(), output.number()) != ARCHIVE_OK) {
        throw Failure("a new archive: " + problemOf(handle));
    }
    return handle;
}

// Opens the file again for a file offset of its own, because processes of jobs share inherited descriptors.
ArchiveReader::ArchiveReader(const Descriptor& file, std::size_t blockSize)
    : m_file(open(file.path().c_str(), O_RDONLY | O_CLOEXEC)) {
    check(m_file.isOpen()).orFail("opening an archive again");
    m_archive.reset(archive_read_new());
    archive_read_support_format_zip_seekable(m_archive.get());
    m_opened = archive_read_open_fd(m_archive.get(), m_file.number(), blockSize);
}

int ArchiveReader::next() {
    const Utf8Locale locale;
    return m_opened == ARCHIVE_OK ? archive_read_next_header(m_archive.get(), &m_entry) : m_opened;
}

int ArchiveReader::read(Block& block) {
    la_int64_t offset = 0;
    block = {nullptr, 0, 0};
    const int result = archive_read_data_block(m_archive.get(), &block.data, &block.size, &offset);
    block.offset = static_cast<std::uint64_t>(offset);
    return result;
}

std::string ArchiveReader::problem() const {
    return problemOf(m_archive);
}

int ArchiveReader::problemNumber() const {
    return archive_errno(m_archive.get());
}

} // namespace velacreate
