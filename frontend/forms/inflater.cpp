#include "forms/inflater.h"

#include <new>

namespace velacreate {
namespace {
constexpr int WITHOUT_HEADER = -15; // the largest window
constexpr unsigned BYTE = 8;

// What zlib tells where it has read a block to its end.
constexpr int UNUSED_BITS = 7;
constexpr int LAST_BLOCK = 64;
constexpr int END_OF_BLOCK = 128;

constexpr unsigned BLOCK_HEADER_BITS = 3;
constexpr unsigned BLOCK_TYPE = 6;
constexpr unsigned STORED = 0;
} // namespace

Inflater::Inflater(MediumBytes& medium, const ByteRange& deflated) : m_medium(medium), m_left(deflated) {
    if (inflateInit2(&m_stream, WITHOUT_HEADER) != Z_OK) {
        throw std::bad_alloc();
    }
    fill();
    checkPadding(false, 0);
}

Inflater::~Inflater() {
    inflateEnd(&m_stream);
}

std::size_t Inflater::read(unsigned char* data, std::size_t size) {
    m_stream.next_out = data;
    m_stream.avail_out = static_cast<uInt>(size);
    while (m_result == Z_OK && m_stream.avail_out == size) {
        goOn();
    }
    return size - m_stream.avail_out;
}

ByteRange Inflater::rest() const {
    return {m_left.offset - m_stream.avail_in, m_left.size + m_stream.avail_in};
}

void Inflater::fill() {
    if (m_stream.avail_in == 0 && m_left.size > 0) {
        const auto bytes = m_medium.view(m_left.offset, m_left.size);
        m_stream.next_in = const_cast<unsigned char*>(bytes.data); // NOLINT(*-const-cast): zlib only reads it
        m_stream.avail_in = static_cast<uInt>(bytes.size);
        m_left.offset += bytes.size;
        m_left.size -= bytes.size;
    }
}

void Inflater::goOn() {
    const auto before = m_stream.avail_in;
    m_result = inflate(&m_stream, Z_BLOCK);
    if (m_stream.avail_in < before) {
        m_lastByte = m_stream.next_in[-1];
    }
    fill();
    if ((m_stream.data_type & END_OF_BLOCK) != 0) {
        if (m_result == Z_BUF_ERROR) { // the end of the block was in the bits that zlib had
            m_result = Z_OK;
        }
        const bool isLast = (m_stream.data_type & LAST_BLOCK) != 0;
        checkPadding(isLast, static_cast<unsigned>(m_stream.data_type & UNUSED_BITS));
        endBlock(isLast);
    }
}

/// Any number of empty blocks could follow each other.
void Inflater::endBlock(bool isLast) {
    if (m_stream.total_out == m_blockStart && !isLast) {
        m_hasEmptyBlock = true;
        m_result = Z_DATA_ERROR;
    }
    m_blockStart = m_stream.total_out;
}

void Inflater::checkPadding(bool isEnd, unsigned unusedBits) {
    const unsigned bits = m_lastByte >> (BYTE - unusedBits);
    if (isEnd) {
        m_hasZeroPadding = m_hasZeroPadding && bits == 0;
        return;
    }
    const unsigned next = bits | (m_stream.avail_in > 0 ? *m_stream.next_in : 0U) << unusedBits;
    if ((next & BLOCK_TYPE) == STORED) {
        const unsigned end = unusedBits < BLOCK_HEADER_BITS ? unusedBits + BYTE : unusedBits;
        const unsigned padding = (next & ((1U << end) - 1)) >> BLOCK_HEADER_BITS;
        m_hasZeroPadding = m_hasZeroPadding && padding == 0;
    }
}

} // namespace velacreate
