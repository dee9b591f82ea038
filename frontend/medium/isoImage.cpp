#include "medium/isoImage.h"

#include "support/failure.h"

#include <algorithm>

namespace velacreate {
namespace {
using namespace std::literals;

constexpr std::uint64_t FIRST_DESCRIPTOR = 16; // the block of the primary volume descriptor
constexpr std::size_t BLOCKS_OF_VOLUME = 80;   // offset of a number of four bytes
constexpr auto MARK = "\1CD001"sv;             // of a primary volume descriptor
} // namespace

std::optional<ImageBlock> ImageBlock::read(const Descriptor& image, std::uint64_t place) {
    ImageBlock block;
    const auto count = readAt(image.number(), block.m_bytes.data(), SIZE, place * SIZE);
    if (count < 0) {
        return std::nullopt;
    }
    return count == static_cast<ssize_t>(SIZE) ? block : ImageBlock();
}

bool ImageBlock::has(std::size_t at, std::string_view text) const {
    return std::equal(
        text.begin(), text.end(), m_bytes.begin() + static_cast<std::ptrdiff_t>(at),
        [](char wanted, unsigned char found) { return static_cast<unsigned char>(wanted) == found; });
}

std::uint64_t ImageBlock::number(std::size_t at, std::size_t bytes) const {
    std::uint64_t value = 0;
    while (bytes-- > 0) {
        value = value << 8U | m_bytes.at(at + bytes);
    }
    return value;
}

std::uint64_t requireIsoImage(const Descriptor& file, const std::string& path) {
    const auto descriptor = ImageBlock::read(file, FIRST_DESCRIPTOR);
    refuseIf(!descriptor || !descriptor->has(0, MARK), quote(path) + " is no ISO 9660 image");
    const std::uint64_t blocks = std::max(FIRST_DESCRIPTOR + 1, descriptor->number(BLOCKS_OF_VOLUME, 4));
    return blocks * ImageBlock::SIZE;
}

void requireWholeIsoImage(const Descriptor& file, const std::string& path) {
    const auto whole = requireIsoImage(file, path);
    if (const auto size = static_cast<std::uint64_t>(file.status().st_size); size < whole) {
        throw Refusal(quote(path) + " is incomplete: it has " + std::to_string(size) + " bytes of " +
                      std::to_string(whole));
    }
}

} // namespace velacreate
