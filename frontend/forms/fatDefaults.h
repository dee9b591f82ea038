/// @file
/// What mkfs.vfat makes of a disk when nobody chooses the numbers of the file system.
#pragma once

#include "forms/fatLayout.h"

#include <cstdint>

namespace velacreate {

/// @return the number that is not below, and a multiple of a unit
constexpr std::uint64_t roundedUp(std::uint64_t number, std::uint64_t unit) {
    return (number + unit - 1) / unit * unit;
}

/// @return how many sectors each table needs for all its clusters
std::uint64_t neededTableSectors(std::uint64_t clusters, unsigned bits);

/// Gives the layout of mkfs.vfat 4.2, which makes FAT 32 of 512 MiB and more.
/// @param sectors  of the file system; mkfs.vfat leaves out a track that is not whole
/// @param room     in bytes, of the partition
/// @return at offset 0; without clusters when the file system is too small
FatLayout defaultFatLayout(std::uint64_t sectors, std::uint64_t room);

} // namespace velacreate
