/// @file
/// Which file systems and swap spaces are in use, and on which disks they lie.
#pragma once

#include <set>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// A mounted file system, or swap space.
struct InUse {
    std::string place; ///< the mount point; of swap space, its device or file
    dev_t device;      ///< 0 for swap space
    /// The kernel's names of all whole devices below, down to the disks: "dm-0", "sda", "sdb".
    std::set<std::string> disks;
};

/// @return all mounts; each comes after the mounts that it lies on
/// @throw Refusal when the kernel's list cannot be read
std::vector<InUse> mountsInUse();

/// @throw Refusal when the kernel's list cannot be read
std::vector<InUse> swapInUse();

/// @param paths  absolute and without links; the files may be missing
/// @return the kernel's names of all whole devices below these files, as in InUse
/// @throw Refusal when the kernel's list of mounts cannot be read
std::set<std::string> disksBelow(const std::vector<std::string>& paths);

} // namespace velacreate
