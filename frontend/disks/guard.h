/// @file
/// Which disks may be overwritten.
#pragma once

#include "disks/disks.h"

#include <string>

namespace velacreate {

/// Follows stacks (LVM, RAID, encryption, loop devices, btrfs over several disks) down to the disks.
/// @param anyDisk  whether the disk may be neither removable nor on USB
/// @return why the disk must not be overwritten; empty when it may
/// - "is an optical drive; \"velacreate burn\" burns discs"
/// - "has no medium in it"
/// - "carries '/home' of this machine", "carries swap space of this machine"
/// - "is part of dm-0 (LVM, RAID or encryption)"
/// - "is read-only"
/// - "is neither removable nor on USB: ACME Disk 5, 20.0 GiB, GPT: ext4", when nothing else is against it
std::string ineligibilityReason(const Disk& disk, bool anyDisk);

/// @return why the disk cannot be filled as it is; empty when it can
std::string lacksPartition(const Disk& disk);

} // namespace velacreate
