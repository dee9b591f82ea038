/// @file
/// What stands on a disk, for people.
#pragma once

#include "disks/disks.h"

#include <string>

namespace velacreate {

/// Partitions are named in their order, with their number where it is not the one that they would have by it.
///
/// - "GPT: vfat 'BOOT', ext4", "MBR: vfat 'KEY' on 4", "MBR: no partition"
/// - "vfat 'STICK', no partition table"
/// - "blank", or "unrecognised" when there is something
/// - "not readable", or "unknown" when this user must not look
std::string contentOf(const Disk& disk);

} // namespace velacreate
