/// @file
/// Which disks may be made a service key.
#pragma once

#include "disks/disks.h"

#include <string>

namespace velacreate {

/// Stacks (LVM, RAID, encryption, loop devices over a file on the disk, btrfs over several disks) are
/// followed down to the disk.
/// @param anyDisk  whether a disk that is neither removable nor on USB is fine
/// @return why the disk must not be made a key; empty when it may
///
/// - "has no medium in it"
/// - "is neither removable nor on USB (--any-disk lets it)"
/// - "carries '/home' of this machine", "carries swap space of this machine"
/// - "is part of dm-0 (LVM, RAID or encryption)"
/// - "is read-only"
std::string ineligibilityReason(const Disk& disk, bool anyDisk);

/// @return why the disk cannot be filled as it is; empty when it can. "has no fourth partition (/dev/sdb4);
/// --erase makes a key of any stick"
std::string lacksPartition(const Disk& disk);

} // namespace velacreate
