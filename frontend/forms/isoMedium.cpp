#include "forms/isoMedium.h"

#include <algorithm>
#include <sstream>

namespace velacreate {
namespace {
std::string blocksText(std::uint32_t block, std::uint64_t count) {
    return rangeText({offsetOf(block), offsetOf(std::max<std::uint64_t>(count, 1))});
}
} // namespace

std::string bigEndian(std::uint64_t value, std::size_t bytes) {
    std::string text = littleEndian(value, bytes);
    std::reverse(text.begin(), text.end());
    return text;
}

std::string bothEndian(std::uint64_t value, std::size_t bytes) {
    return littleEndian(value, bytes) + bigEndian(value, bytes);
}

std::uint32_t numberIn(std::string_view bytes, std::size_t at, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t place = size; place-- > 0;) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(at + place));
    }
    return value;
}

void IsoMedium::add(const std::string& place, const std::string& fault) const {
    m_examination.differences.addForm(place + ": " + fault);
}

bool IsoMedium::has(std::uint32_t block, std::uint64_t count) const {
    return block <= m_blocks && count <= m_blocks - block;
}

bool IsoMedium::claim(const std::string& place, std::uint32_t block, std::uint64_t count) {
    if (!has(block, count)) {
        add(place, blocksText(block, count) + " lie beyond the end of the volume");
        return false;
    }
    if (!m_map.claim({offsetOf(block), offsetOf(count)})) {
        add(place, blocksText(block, count) + " belong to something else, too");
        return false;
    }
    return true;
}

void IsoMedium::claimBytes(const std::string& place, std::uint32_t block, std::uint64_t count,
                           const std::string& bytes) {
    if (!claim(place, block, count)) {
        return;
    }
    for (std::size_t done = 0; done < bytes.size();) {
        const auto offset = offsetOf(block) + done;
        const auto found = m_examination.medium.view(offset, bytes.size() - done);
        const auto* const end = found.data + found.size;
        const auto* const expected = reinterpret_cast<const unsigned char*>(bytes.data()) + done;
        const auto* const differing = std::mismatch(found.data, end, expected).first;
        if (differing != end) {
            const auto at = offset + static_cast<std::uint64_t>(differing - found.data);
            add(place, "unexpected value of " + rangeText({at, 1}));
            return;
        }
        done += found.size;
    }
    expectZero(place, offsetOf(block) + bytes.size(), offsetOf(count) - bytes.size());
}

void IsoMedium::expectZero(const std::string& place, std::uint64_t offset, std::uint64_t size) const {
    if (!m_examination.medium.areZero(offset, size)) {
        add(place, rangeText({offset, size}) + " are not all zero");
    }
}

std::string IsoMedium::read(std::uint64_t offset, std::size_t size) const {
    std::string bytes(size, '\0');
    m_examination.medium.read(offset, bytes.data(), size);
    return bytes;
}

} // namespace velacreate
