/// @file
/// The disks of this machine, and which of them may be made a service key.
#ifndef VELACREATE_DEVICEGUARD_H
#define VELACREATE_DEVICEGUARD_H

#include "pathRules.h"

#include <bootableusb.h>

#include <set>
#include <string>
#include <vector>

namespace velacreate {

struct Mount {
    std::set<std::string> disks; ///< kernel names of the whole disks that it stands on, such as "sdb"
    std::string place;
};

/// @return everything that is mounted
std::vector<Mount> mounts();

/// @return where partitions of the disk are mounted, separated by commas; empty when nowhere
std::string mountedPlaces(const std::string& disk);

/// @return the kernel's names of the removable and the USB disks
std::vector<std::string> removableDisks();

/// @return the device node of a whole disk, links resolved
/// @throw Refusal when it is none
fs::path wholeDisk(const std::string& device);

/// @return vendor, model and size of a disk
VelaCreation::_USBDATA describe(const fs::path& device);

/// Refuses a disk that is not to be made a key.
/// @param anyDisk  whether a disk that is neither removable nor on USB is fine
void requireKey(const fs::path& device, bool anyDisk);

} // namespace velacreate

#endif
