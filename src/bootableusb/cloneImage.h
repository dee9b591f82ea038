// Calculates how a clone image's boot record and FAT boot sector hold the key's capacity. No I/O.
#ifndef VELACREATION_CLONEIMAGE_H
#define VELACREATION_CLONEIMAGE_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace VelaCreation {

/// The geometry of an image's CHS addresses.
struct Geometry {
    std::uint32_t heads;
    std::uint32_t sectorsPerTrack;
};

/// The last head, sector and cylinder of a partition, as the three bytes in its entry.
using EndAddress = std::array<std::uint8_t, 3>;

/// @param end  the end address of a partition that ends with a whole cylinder
Geometry geometryOf(const EndAddress& end);

/// @return the address of the last sector of a key. A cylinder of 1024 or more does not fit into its ten
/// bits: its higher bits change the lower ones.
EndAddress lastSectorAddress(std::int64_t capacity, const Geometry& geometry);

/// What the entry of the fourth partition gets.
struct FittedEntry {
    EndAddress end;
    std::int64_t length; ///< in sectors
};

/// @param start  the first sector of the partition
FittedEntry fittedEntry(std::int64_t capacity, const Geometry& geometry, std::int64_t start);

/// The largest number of the partition's first sector, which the library reads from one byte.
constexpr std::size_t LARGEST_START = 255;

/// @return where the image holds the sector count of the FAT boot sector, for a partition of this length
std::int64_t totalSectorsOffset(std::int64_t partitionLength);

/// The low 32 bits of a number, lowest byte first.
std::array<std::uint8_t, 4> littleEndian(std::int64_t number);

} // namespace VelaCreation

#endif
