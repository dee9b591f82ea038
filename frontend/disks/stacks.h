/// @file
/// What this machine works on, and the disks that it stands on.
#pragma once

#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// A mounted file system, or swap space.
struct InUse {
    std::string place; ///< the mount point; of swap space, its device or file
    dev_t device;      ///< of the file system; 0 for swap space
    /// The kernel's names of all whole devices underneath, down to the disks: "dm-0", "sda", "sdb". Followed
    /// are partitions, LVM, RAID, encryption, loop devices over files, and btrfs over several disks.
    std::set<std::string> disks;
};

/// @return what is mounted, each after what it stands on
/// @throw Refusal when the kernel does not tell
std::vector<InUse> mountsInUse();

/// @throw Refusal when the kernel does not tell
std::vector<InUse> swapInUse();

} // namespace velacreate
