#include "forms/fatLayout.h"

#include "forms/fields.h"

namespace velacreate {

std::uint64_t FatLayout::tableSize() const {
    return tableSectors * SECTOR_SIZE;
}

std::uint64_t FatLayout::tableOffset(unsigned table) const {
    return offset + reservedSectors * SECTOR_SIZE + table * tableSize();
}

std::uint64_t FatLayout::rootOffset() const {
    return tableOffset(FAT_TABLES);
}

std::uint64_t FatLayout::rootSize() const {
    return rootEntries * FAT_ENTRY_SIZE;
}

std::uint64_t FatLayout::dataOffset() const {
    return rootOffset() + rootSize();
}

std::uint64_t FatLayout::clusterSize() const {
    return clusterSectors * SECTOR_SIZE;
}

std::uint64_t FatLayout::clusterOffset(std::uint64_t cluster) const {
    return dataOffset() + (cluster - FIRST_CLUSTER) * clusterSize();
}

std::uint64_t FatLayout::end() const {
    return offset + sectors * SECTOR_SIZE;
}

std::uint32_t FatLayout::allOnes() const {
    return isFat32() ? 0x0fffffffU : (1U << bits) - 1;
}

} // namespace velacreate
