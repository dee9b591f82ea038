/// @file
/// The FAT file system on a key's fourth partition, or in an image of a key.
#pragma once

#include "support/descriptor.h"

#include <cstdint>

namespace velacreate {

/// Whether libblkid finds a FAT file system at an offset.
bool holdsFat(const Descriptor& disk, std::uint64_t offset);

/// @return an upper limit for the bytes of files that the FAT file system can hold; 0 when there is none
std::uint64_t fatCapacity(const Descriptor& disk, std::uint64_t offset);

/// Whether an open file lies on the FAT file system of this device.
bool isOnFat(const Descriptor& file, dev_t device);

} // namespace velacreate
