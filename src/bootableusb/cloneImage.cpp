#include "cloneImage.h"

#include "mediaRules.h"

namespace VelaCreation {

namespace {

// The field in the boot sector of a partition that starts at sector 32 or 63.
constexpr std::int64_t TOTAL_SECTORS_FIELD = 0x20;
constexpr std::int64_t TOTAL_SECTORS_AFTER_32 = 32 * std::int64_t{SECTOR_SIZE} + TOTAL_SECTORS_FIELD;
constexpr std::int64_t TOTAL_SECTORS_AFTER_63 = std::int64_t{KEY_IMAGE_OFFSET} + TOTAL_SECTORS_FIELD;

std::uint8_t lowByte(std::uint32_t number) {
    return static_cast<std::uint8_t>(number & 0xFF);
}

std::int64_t dividedUp(std::int64_t dividend, std::int64_t divisor) {
    return (dividend + divisor - 1) / divisor;
}

} // namespace

Geometry geometryOf(const EndAddress& end) {
    return {end[0] + 1U, sectorsPerTrack(end[1])};
}

EndAddress lastSectorAddress(std::int64_t capacity, const Geometry& geometry) {
    const std::int64_t trackSectors = geometry.sectorsPerTrack;
    const std::int64_t sectorsPerCylinder = trackSectors * geometry.heads;
    const auto cylinder = static_cast<std::uint32_t>(dividedUp(capacity, sectorsPerCylinder) - 1);
    const std::int64_t partialCylinder = capacity % sectorsPerCylinder;

    std::int64_t head = geometry.heads - 1;
    std::int64_t sector = trackSectors;
    if (partialCylinder != 0) {
        head = dividedUp(partialCylinder, trackSectors) - 1;
        sector = partialCylinder % trackSectors != 0 ? partialCylinder % trackSectors : trackSectors;
    }
    const std::uint32_t sectorAndCylinder =
        ((cylinder & 0xFF00) >> 2) | ((cylinder & 0xFF) << 8) | static_cast<std::uint32_t>(sector);
    return {lowByte(static_cast<std::uint32_t>(head)), lowByte(sectorAndCylinder),
            lowByte(sectorAndCylinder >> 8)};
}

FittedEntry fittedEntry(std::int64_t capacity, const Geometry& geometry, std::int64_t start) {
    return {lastSectorAddress(capacity, geometry), capacity - start};
}

std::int64_t totalSectorsOffset(std::int64_t partitionLength) {
    return partitionLength <= 2 * SECTORS_PER_GIB ? TOTAL_SECTORS_AFTER_32 : TOTAL_SECTORS_AFTER_63;
}

std::array<std::uint8_t, 4> littleEndian(std::int64_t number) {
    const auto low = static_cast<std::uint32_t>(number);
    return {lowByte(low), lowByte(low >> 8), lowByte(low >> 16), lowByte(low >> 24)};
}

} // namespace VelaCreation
