/// @file
/// What makes a key of any stick: an image that is written over whatever stood there.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

#include <cstdint>
#include <string>

namespace velacreate {

/// @param cloneImage  the name of the image in the package
/// @return why a disk cannot be made a key by an image; empty when it can
///
/// - "is smaller than 'init1.img' of the package (64.0 MiB)"
/// - "is too large: a key has less than 2 TiB"
/// - "has sectors of 4096 bytes, which a key cannot have"
std::string eraseIneligibilityReason(const Disk& disk, const std::string& cloneImage,
                                     std::uint64_t imageSize);

/// Opens for writing the very device that is open already, whatever its name stands for by now. As long as it
/// is open, nothing of it can be mounted.
/// @throw Failure, also when something of it is mounted, wherever that is
Descriptor openToWrite(const Descriptor& disk);

/// Takes away all by which file systems, RAIDs and partition tables are recognised, also what they keep at
/// the end of a disk, where an image does not reach.
/// @param device  open for reading and writing
/// @throw Failure
void wipeSignatures(const Descriptor& device);

/// Writes an image, just opened, to the beginning of a device, and flushes. Tells of the bytes as they are
/// written.
/// @throw Failure
void cloneTo(const Descriptor& device, const Descriptor& image, const Advance& advance);

/// Lets the kernel read the partition table, and waits until a partition and its node are there.
/// @throw Failure
void rereadPartitionTable(const Descriptor& device, const Disk& disk, int partition);

} // namespace velacreate
