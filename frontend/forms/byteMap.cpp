#include "forms/byteMap.h"

#include <iterator>
#include <sstream>

namespace velacreate {

std::string rangeText(const ByteRange& range) {
    std::ostringstream text;
    text << std::hex << (range.size == 1 ? "byte 0x" : "bytes 0x") << range.offset;
    if (range.size > 1) {
        text << "–0x" << range.offset + range.size - 1;
    }
    return text.str();
}

bool ByteMap::claim(const ByteRange& range) {
    if (range.offset > m_size || range.size > m_size - range.offset) {
        return false;
    }
    if (range.size == 0) {
        return true;
    }
    auto begin = range.offset;
    auto end = begin + range.size;
    auto next = m_ends.lower_bound(begin);
    if (next != m_ends.end() && next->first < end) {
        return false;
    }
    if (next != m_ends.begin()) {
        const auto previous = std::prev(next);
        if (previous->second > begin) {
            return false;
        }
        if (previous->second == begin) {
            begin = previous->first;
            m_ends.erase(previous);
        }
    }
    if (next != m_ends.end() && next->first == end) {
        end = next->second;
        m_ends.erase(next);
    }
    m_ends.emplace(begin, end);
    return true;
}

std::vector<ByteRange> ByteMap::unclaimed() const {
    std::vector<ByteRange> gaps;
    std::uint64_t done = 0;
    for (const auto& [begin, end] : m_ends) {
        if (begin > done) {
            gaps.push_back({done, begin - done});
        }
        done = end;
    }
    if (m_size > done) {
        gaps.push_back({done, m_size - done});
    }
    return gaps;
}

} // namespace velacreate
