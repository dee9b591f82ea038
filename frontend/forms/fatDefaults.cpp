#include "forms/fatDefaults.h"

#include "forms/fields.h"

namespace velacreate {
namespace {
constexpr std::uint64_t GIB = 1U << 30U;
constexpr std::uint64_t SMALLEST_FAT_32 = GIB / 2;
constexpr std::uint64_t RESERVED_OF_FAT_32 = 32;
constexpr std::uint64_t ROOT_SECTORS = 32;
constexpr std::uint64_t ENTRIES_IN_SECTOR = SECTOR_SIZE / FAT_ENTRY_SIZE;
constexpr std::uint64_t BITS_IN_SECTOR = SECTOR_SIZE * 8;

/// From this size on, all parts of a file system begin at whole clusters.
constexpr std::uint64_t FEWEST_ALIGNED_SECTORS = 8192;

FatLayout layoutOf(unsigned bits, std::uint64_t clusterSectors, std::uint64_t sectors) {
    FatLayout layout;
    layout.bits = bits;
    layout.clusterSectors = clusterSectors;
    layout.sectors = sectors;
    const auto unit = sectors < FEWEST_ALIGNED_SECTORS ? 1 : clusterSectors;
    const auto rootSectors = layout.isFat32() ? 0 : roundedUp(ROOT_SECTORS, unit);
    layout.rootEntries = rootSectors * ENTRIES_IN_SECTOR;
    layout.reservedSectors = roundedUp(layout.isFat32() ? RESERVED_OF_FAT_32 : 1, unit);
    if (sectors <= layout.reservedSectors + rootSectors) {
        return layout;
    }
    // The tables have room for the clusters that would fit if nothing was rounded.
    const auto room = sectors - layout.reservedSectors - rootSectors;
    const auto bitsInTables = std::uint64_t{FAT_TABLES} * bits;
    const auto estimate = (room * BITS_IN_SECTOR + FIRST_CLUSTER * bitsInTables) /
                          (clusterSectors * BITS_IN_SECTOR + bitsInTables);
    layout.tableSectors = roundedUp(neededTableSectors(estimate, bits), unit);
    const auto inTables = FAT_TABLES * layout.tableSectors;
    layout.clusters = room < inTables ? 0 : (room - inTables) / clusterSectors;
    return layout;
}

std::uint64_t clusterSectorsOfFat32(std::uint64_t room) {
    std::uint64_t clusterSectors = 8;
    for (const auto size : {8 * GIB, 16 * GIB, 32 * GIB}) {
        clusterSectors *= room > size ? 2 : 1;
    }
    return clusterSectors;
}
} // namespace

std::uint64_t neededTableSectors(std::uint64_t clusters, unsigned bits) {
    return roundedUp((clusters + FIRST_CLUSTER) * bits, BITS_IN_SECTOR) / BITS_IN_SECTOR;
}

FatLayout defaultFatLayout(std::uint64_t sectors, std::uint64_t room) {
    constexpr std::uint64_t smallestCluster = 4; // in sectors, of FAT 12 and 16
    if (room >= SMALLEST_FAT_32) {
        return layoutOf(32, clusterSectorsOfFat32(room), sectors);
    }
    for (auto clusterSectors = smallestCluster;; clusterSectors *= 2) {
        for (const unsigned bits : {16U, 12U}) {
            auto layout = layoutOf(bits, clusterSectors, sectors);
            const bool isFat16 =
                layout.clusters >= FEWEST_CLUSTERS_OF_FAT_16 && layout.clusters <= MOST_CLUSTERS_OF_FAT_16;
            if (bits == 16 ? isFat16 : layout.clusters <= MOST_CLUSTERS_OF_FAT_12) {
                return layout;
            }
        }
    }
}

} // namespace velacreate
