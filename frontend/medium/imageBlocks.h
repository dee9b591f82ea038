/// @file
/// The blocks of a key's image on a key.
#pragma once

#include "forms/keyBlocks.h"
#include "medium/readBack.h"
#include "support/descriptor.h"

namespace velacreate {

/// An image, and its blocks that hold data.
struct ImageBlocks {
    const Descriptor& file;
    const Blocks& blocks;
};

/// Writes the blocks to their places on a disk, and flushes it. Several processes can do so at the same time:
/// what one of them has read, the others find in the kernel's cache, so that the image is read once as long
/// as its blocks fit into the memory, or the processes stay together.
/// @param device  open with O_DIRECT; its sectors have 512 bytes
/// @throw Failure
void writeBlocks(const ImageBlocks& image, const Descriptor& device);

/// Compares the blocks with those of a key, and looks for the marks of other file systems between them.
/// @param key  may be open with O_DIRECT
/// @return the first block that differs, by what it belongs to; or the marks
/// @throw Failure when something cannot be read
Differences compareBlocks(const ImageBlocks& image, const ReadMedium& key, const Advance& advance);

} // namespace velacreate
