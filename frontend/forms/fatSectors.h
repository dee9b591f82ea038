/// @file
/// The sectors of a FAT file system before its tables, as mkfs.vfat and the kernel write them.
#pragma once

#include "forms/fatLayout.h"
#include "forms/fields.h"
#include "forms/variation.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

extern const std::string FAT_LABEL; ///< with its padding, as the next one
extern const std::string NO_FAT_LABEL;

/// @name Sectors of FAT 32
/// @{
constexpr std::uint64_t INFO_SECTOR = 1; ///< also behind the backup
constexpr std::uint64_t BACKUP_SECTOR = 6;
/// @}

/// The numbers in a boot sector. They may be wrong, and do not tell FAT 12 from FAT 16.
struct FatNumbers {
    FatLayout layout;
    std::uint64_t sectorSize; ///< in bytes
    std::uint64_t tables;
    std::uint64_t trackSectors;
    std::string label;
    unsigned flaws; ///< not 0 for a file system that was not unmounted, or had errors
};
FatNumbers numbersIn(const Sector& bootSector);

/// @param found  for the fields that vary
Sector bootSectorOf(const FatLayout& layout, const Sector& found);

/// Its copy, which the kernel does not change.
Sector backupOf(const Sector& bootSector);

/// @return the name of a field of the boot sector
const char* bootFieldAt(const FatLayout& layout, std::size_t at);

struct VaryingField {
    Variation variation;
    std::uint64_t offset;
    std::uint64_t size;
};
std::vector<VaryingField> varyingBootFields(const FatLayout& layout);

/// Of an FSInfo sector.
constexpr VaryingField HINTS = {Variation::freeSpaceHints, 488, 8};

/// @param found  for the hints
Sector infoSectorOf(const Sector& found);

} // namespace velacreate
