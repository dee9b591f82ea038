/// @file
/// What is on a disk, for people.
#pragma once

#include "disks/disks.h"

#include <string>

namespace velacreate {

/// Lists partitions in order, with their number if it differs from their position.
/// - "GPT: vfat 'BOOT', ext4", "MBR: vfat 'KEY' on 4", "MBR: no partition"
/// - "vfat 'STICK', no partition table"
/// - "blank", or "unrecognised" when there is unknown data
/// - "not readable", or "unknown" when the user may not read it
std::string contentOf(const Disk& disk);

} // namespace velacreate
