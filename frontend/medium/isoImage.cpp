#include "medium/isoImage.h"

#include "medium/sources.h"

#include <algorithm>
#include <array>

namespace velacreate {

namespace {

constexpr std::uint64_t BLOCK = 2048;
constexpr std::uint64_t FIRST_DESCRIPTOR = 16; // the block in which the volume is described
constexpr std::size_t BLOCKS_OF_VOLUME = 80;   // a number of four bytes, the lowest one first
constexpr std::array<char, 6> MARK = {1, 'C', 'D', '0', '0', '1'}; // of a primary volume descriptor

} // namespace

std::uint64_t isoImageSize(const Descriptor& file) {
    std::array<unsigned char, BLOCK> descriptor{};
    const auto count = readAt(file.number(), descriptor.data(), descriptor.size(), FIRST_DESCRIPTOR * BLOCK);
    if (count != static_cast<ssize_t>(descriptor.size()) ||
        !std::equal(MARK.begin(), MARK.end(), descriptor.begin())) {
        return 0;
    }
    std::uint64_t blocks = 0;
    for (std::size_t byte = 4; byte-- > 0;) {
        blocks = blocks << 8U | descriptor.at(BLOCKS_OF_VOLUME + byte);
    }
    return std::max((FIRST_DESCRIPTOR + 1) * BLOCK, blocks * BLOCK);
}

} // namespace velacreate
