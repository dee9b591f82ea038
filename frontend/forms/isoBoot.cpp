#include "forms/isoBoot.h"

#include "forms/fields.h"

namespace velacreate {
namespace {
using namespace std::literals;

constexpr std::string_view WHOLE_IMAGE = "\x80\xff\xff\xff\x96\xff\xff\xff"sv;
constexpr std::string_view LOADER = "\x80\xff\xff\xff\x41\xff\xff\xff"sv;
constexpr std::string_view NO_PARTITION = "\0\xff\xff\xff\0\xff\xff\xff"sv;

std::uint64_t sectorsOf(std::uint64_t bytes) {
    return (bytes + SECTOR_SIZE - 1) / SECTOR_SIZE;
}

std::string partition(std::string_view type, std::uint64_t block, std::uint64_t sectors) {
    return std::string(type) + littleEndian(offsetOf(block) / SECTOR_SIZE, 4) + littleEndian(sectors, 4);
}
} // namespace

std::string isoBootCatalog(const IsoExtent& file) {
    constexpr std::uint64_t largest = 0xffff;
    const auto sectors = sectorsOf(file.size);
    return "\1\xef"s + std::string(26, '\0') + "\xaa\x66\x55\xaa" + // the sum of the 16-bit words is 0
           "\x88\0\0\0\0\0"s +                                      // bootable, without emulation
           littleEndian(sectors > largest ? 0 : sectors, 2) + littleEndian(file.block, 4);
}

std::string isoPowerPcPartitions(const IsoExtent& loader, std::uint32_t blocks) {
    const auto image = offsetOf(blocks) - offsetOf(ISO_PADDING);
    return std::string(PARTITIONS_FIELD, '\0') + partition(WHOLE_IMAGE, 0, sectorsOf(image)) +
           partition(LOADER, loader.block, sectorsOf(loader.size)) + partition(NO_PARTITION, 0, 0) +
           partition(NO_PARTITION, 0, 0) + std::string(SIGNATURE.begin(), SIGNATURE.end());
}

bool isPowerPcTable(std::string_view block) {
    return block.substr(PARTITIONS_FIELD, WHOLE_IMAGE.size()) == WHOLE_IMAGE;
}

} // namespace velacreate
