/// @file
/// Which disks may become keys.
#pragma once

#include "disks/disks.h"

#include <string>

namespace velacreate {

/// Follows stacks (LVM, RAID, encryption, loop devices, btrfs over several disks) down to the disks.
/// @param anyDisk  whether the disk may be neither removable nor on USB
/// @return why the disk must not become a key; empty when it may
/// - "has no medium in it"
/// - "is neither removable nor on USB (--any-disk lets it)"
/// - "carries '/home' of this machine", "carries swap space of this machine"
/// - "is part of dm-0 (LVM, RAID or encryption)"
/// - "is read-only"
std::string ineligibilityReason(const Disk& disk, bool anyDisk);

/// @return why the disk cannot be filled as it is; empty when it can
std::string lacksPartition(const Disk& disk);

} // namespace velacreate
