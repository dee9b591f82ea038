// The arithmetic of a clone image: where and how its master boot record and FAT
// boot sector hold the key's capacity. No I/O.
#ifndef VELACREATION_CLONEIMAGE_H
#define VELACREATION_CLONEIMAGE_H

#include <array>
#include <cstdint>

namespace VelaCreation {

/// The geometry that the addresses of an image are written in.
struct Geometry {
    std::uint32_t heads;
    std::uint32_t sectorsPerTrack;
};

/// The ending head, sector and cylinder of a partition, as the three bytes of its entry.
using EndAddress = std::array<std::uint8_t, 3>;

/// The geometry that an end address at the very end of a cylinder implies.
Geometry geometryOf(const EndAddress& end);

/// The address of the last sector of a key. Cylinders from 1024 on do not fit their ten bits and run into the
/// other ones.
EndAddress lastSectorAddress(std::int64_t capacity, const Geometry& geometry);

/// Where the FAT boot sector of a partition of this length holds its number of sectors.
std::int64_t totalSectorsOffset(std::int64_t partitionLength);

/// The low 32 bits of a number, lowest byte first.
std::array<std::uint8_t, 4> littleEndian(std::int64_t number);

} // namespace VelaCreation

#endif
