/// @file
/// Where the parts of a FAT file system lie.
#pragma once

#include <cstdint>

namespace velacreate {

constexpr std::uint32_t FIRST_CLUSTER =
    2; ///< of any FAT file system; the top directory of FAT 32 begins there

constexpr unsigned FAT_TABLES = 2;
constexpr std::uint64_t FAT_ENTRY_SIZE = 32;             ///< of a directory
constexpr std::uint64_t LARGEST_FAT_DIRECTORY = 2 << 20; ///< in bytes; the kernel makes no larger one
constexpr std::uint64_t MOST_CLUSTERS_OF_FAT_12 = 4084;
constexpr std::uint64_t FEWEST_CLUSTERS_OF_FAT_16 = 4087; ///< that mkfs.vfat gives; machines differ below
constexpr std::uint64_t MOST_CLUSTERS_OF_FAT_16 = 65524;

/// Offsets and sizes are in bytes of the medium.
struct FatLayout {
    std::uint64_t offset = 0;
    std::uint64_t sectors = 0;
    std::uint64_t reservedSectors = 0;
    std::uint64_t tableSectors = 0; ///< of each of the two tables
    std::uint64_t rootEntries = 0;  ///< 0 for FAT 32, whose top directory is a chain of clusters
    std::uint64_t clusterSectors = 0;
    std::uint64_t clusters = 0;
    unsigned bits = 0; ///< of a table's entry: 12, 16 or 32
    bool hasLabel = false;

    bool isFat32() const { return bits == 32; }
    std::uint64_t tableSize() const;
    std::uint64_t tableOffset(unsigned table) const; ///< @param table 0 or 1
    std::uint64_t rootOffset() const;
    std::uint64_t rootSize() const;
    std::uint64_t dataOffset() const;
    std::uint64_t clusterSize() const;
    std::uint64_t clusterOffset(std::uint64_t cluster) const; ///< the first one has the number 2
    std::uint64_t end() const;

    /// @return the largest entry of the table. It ends the chain of a file or directory.
    std::uint32_t allOnes() const;
};

} // namespace velacreate
