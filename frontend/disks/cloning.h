/// @file
/// Turns any stick into a key: a clone image overwrites it.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

#include <cstdint>
#include <string>

namespace velacreate {

/// @param cloneImage  the name of the image in the package
/// @return why a clone image cannot make the disk a key; empty when it can
/// - "is too small: a key has at least 8 MiB"
/// - "is smaller than 'init1.img' of the package (64.0 MiB)"
/// - "is too large: a key has less than 2 TiB"
/// - "has sectors of 4096 bytes, which a key cannot have"
std::string eraseIneligibilityReason(const Disk& disk, const std::string& cloneImage,
                                     std::uint64_t imageSize);

/// @return "has sectors of 4096 bytes, which a key cannot have"; empty for sectors of 512 bytes
std::string sectorIneligibilityReason(const Disk& disk);

/// Opens an open disk again for writing, even if its name belongs to another disk by now. While it is open,
/// nothing on the disk can be mounted.
/// @throw Failure, also when something on it is mounted anywhere
Descriptor openToWrite(const Descriptor& disk);

/// Removes all signatures of file systems, RAIDs and partition tables, also those at the end of the disk,
/// which an image does not reach.
/// @param device  open for reading and writing
/// @param offset  where that begins which has the signatures, such as a partition
/// @throw Failure
void wipeSignatures(const Descriptor& device, std::uint64_t offset = 0);

/// Overwrites the end of a disk, where RAIDs and copies of partition tables have their marks. Some are not
/// recognised while a partition reaches to the end, or are damaged. Zeros are left as they are.
/// @param device  open for reading and writing
/// @throw Failure
void wipeEnd(const Descriptor& device);

/// Writes a newly opened image to the beginning of a device, and flushes it.
/// @throw Failure
void cloneTo(const Descriptor& device, const Descriptor& image, const Advance& advance);

/// Makes the kernel read the partition table, and waits for a partition and its node.
/// @throw Failure
void rereadPartitionTable(const Descriptor& device, const Disk& disk, int partition);

} // namespace velacreate
