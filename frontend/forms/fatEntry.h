/// @file
/// The fields of an entry in a FAT directory.
#pragma once

#include "forms/fatLayout.h"
#include "forms/fatNames.h"
#include "forms/fields.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace velacreate {

constexpr unsigned char FAT_DELETED = 0xe5; ///< in place of the first character

/// @name Fields
/// @{
constexpr std::size_t ATTRIBUTES_FIELD = 11;
constexpr std::size_t CASE_FIELD = 12;
constexpr std::size_t CREATED_FIELD = 13; ///< with the date of the last access
constexpr std::size_t CREATED_SIZE = 7;
constexpr std::size_t HIGH_CLUSTER_FIELD = 20;
constexpr std::size_t WRITTEN_FIELD = 22;
constexpr std::size_t WRITTEN_SIZE = 4;
constexpr std::size_t LOW_CLUSTER_FIELD = 26;
constexpr std::size_t SIZE_FIELD = 28;
/// @}

/// @name Attributes
/// @{
constexpr unsigned char FAT_LABEL_ENTRY = 0x08;
constexpr unsigned char FAT_DIRECTORY = 0x10;
constexpr unsigned char FAT_ARCHIVE = 0x20;   ///< of each file that the kernel writes
constexpr unsigned char FAT_LONG_NAME = 0x0f; ///< the entry is a piece of a long name
/// @}

/// @name A piece of a long name
/// The last piece comes first. Behind its end the name has a zero, and then padding.
/// @{
constexpr std::size_t CHECK_SUM_FIELD = 13;
constexpr unsigned char LAST_PIECE = 0x40; ///< beside the piece's number in the first byte
constexpr std::size_t MOST_PIECES = 20;
constexpr std::size_t PIECE_UNITS = 13; ///< of UTF-16
constexpr std::array<std::size_t, PIECE_UNITS> UNIT_FIELDS = {1, 3, 5, 7, 9, 14, 16, 18, 20, 22, 24, 28, 30};
constexpr char16_t NAME_PADDING = 0xffff;
/// @}

using FatEntryBytes = std::array<unsigned char, FAT_ENTRY_SIZE>;

/// @return an entry without a size and without times
inline FatEntryBytes entryOf(const FatShortName& name, unsigned char attributes, std::uint32_t cluster) {
    FatEntryBytes entry{};
    std::copy(name.begin(), name.end(), entry.begin());
    entry[ATTRIBUTES_FIELD] = attributes;
    putLittleEndian(&entry[HIGH_CLUSTER_FIELD], 2, cluster >> 16U);
    putLittleEndian(&entry[LOW_CLUSTER_FIELD], 2, cluster & 0xffffU);
    return entry;
}

} // namespace velacreate
