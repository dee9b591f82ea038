/// @file
/// Which blocks of a key's image hold data, and what they belong to.
#pragma once

#include "forms/byteMap.h"
#include "forms/examination.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

constexpr std::uint64_t KEY_BLOCK = 4096; ///< in bytes, as in block maps

/// Ranges of whole blocks in order, with a gap between two of them. The last one ends with the image.
using Blocks = std::vector<ByteRange>;

/// @param behind  the block behind the last one
/// @return the bytes of some blocks, which end with the image
ByteRange blocksOf(std::uint64_t first, std::uint64_t behind, std::uint64_t imageSize);

std::uint64_t sizeOf(const Blocks& blocks); ///< in bytes

/// Adds a range that does not begin before the last one.
void append(Blocks& blocks, const ByteRange& range);

/// Adds a difference when the image does not have the form of a key: a boot record, and a sound FAT file
/// system on the fourth partition.
/// @return all blocks but those of free clusters, and those behind the file system
/// @throw Failure when something cannot be read
Blocks usedBlocks(const Examination& examination);

/// @param image  of the form of a key
/// @return what a byte belongs to, such as "'boot/grub.cfg'" or "the table of the file system"
/// @throw Failure when something cannot be read
std::string ownerOf(const Examination& image, std::uint64_t offset);

/// Whether all blocks are among others.
bool areAmong(const Blocks& blocks, const Blocks& others);

} // namespace velacreate
