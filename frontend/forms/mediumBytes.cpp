#include "forms/mediumBytes.h"

#include "support/failure.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>

namespace velacreate {
namespace {
constexpr std::size_t ALIGNMENT = 4096; // of all disks

std::string atByte(std::uint64_t offset) {
    return "reading at byte " + std::to_string(offset);
}
} // namespace

MediumBytes::MediumBytes(const Descriptor& file, std::uint64_t size)
    : m_file(file), m_size(size),
      m_buffer(static_cast<unsigned char*>(std::aligned_alloc(ALIGNMENT, BUFFER_SIZE))) {
    if (!m_buffer) {
        throw std::bad_alloc();
    }
}

MediumBytes::Bytes MediumBytes::view(std::uint64_t offset, std::uint64_t wanted) {
    if (offset >= m_size) {
        throw Failure(atByte(offset) + ": the medium ends before");
    }
    if (offset < m_start || offset - m_start >= m_count) {
        m_count = 0;
        m_start = offset - offset % ALIGNMENT;
        const auto size = std::min<std::uint64_t>(BUFFER_SIZE, m_size - m_start);
        const auto count = readAt(m_file.number(), m_buffer.get(), size, m_start);
        check(count >= 0).orFail(atByte(m_start));
        m_count = static_cast<std::size_t>(count);
        if (offset - m_start >= m_count) {
            throw Failure(atByte(offset) + ": the medium has become shorter");
        }
    }
    const auto at = static_cast<std::size_t>(offset - m_start);
    return {m_buffer.get() + at, static_cast<std::size_t>(std::min<std::uint64_t>(wanted, m_count - at))};
}

void MediumBytes::read(std::uint64_t offset, void* data, std::size_t size) {
    auto* to = static_cast<unsigned char*>(data);
    while (size > 0) {
        const auto bytes = view(offset, size);
        to = std::copy_n(bytes.data, bytes.size, to);
        offset += bytes.size;
        size -= bytes.size;
    }
}

bool MediumBytes::areZero(std::uint64_t offset, std::uint64_t size) {
    while (size > 0) {
        const auto bytes = view(offset, size);
        if (bytes.data[0] != 0 || std::memcmp(bytes.data, bytes.data + 1, bytes.size - 1) != 0) {
            return false;
        }
        offset += bytes.size;
        size -= bytes.size;
    }
    return true;
}

} // namespace velacreate
