/// @file
/// The FAT file system of a key, on its fourth partition or in an image of a key.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <string>

namespace velacreate {

/// Whether libblkid finds a FAT file system at an offset.
bool holdsFat(const Descriptor& disk, std::uint64_t offset);

/// @return how many bytes of files the FAT file system at an offset can hold at most, by its boot sector; 0
/// when there is none
std::uint64_t fatCapacity(const Descriptor& disk, std::uint64_t offset);

/// Whether an open file or directory lies on the FAT file system of this device.
bool isOnFat(const Descriptor& file, dev_t device);

/// Whether a device is a loop device over an open file.
bool isLoopOver(dev_t device, const Descriptor& file);

} // namespace velacreate
