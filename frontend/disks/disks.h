/// @file
/// The disks of this machine.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// A whole disk, as the kernel knows it.
struct Disk {
    std::string name; ///< the kernel's, such as "sdb"; a single shell word
    dev_t number;

    std::string node() const { return "/dev/" + name; }
    /// The number of a partition: "sdb4" for 4, or "mmcblk0p4".
    std::string partitionName(int partition) const;

    /// The node of the partition that holds a key's files.
    std::string keyPartitionNode() const;
};

constexpr int KEY_PARTITION = 4; ///< the one that holds a key's files

/// What a user recognises a disk by. What is not known is empty.
struct DiskDescription {
    std::string vendor;
    std::string model; ///< whole, not only its first word
    std::string serial;
    std::string port;       ///< where it is plugged in, such as "usb 1-2"
    std::uint64_t size = 0; ///< in bytes

    /// Vendor and model in one.
    std::string name() const;
};

/// @return the whole disk that a path names; links such as /dev/disk/by-id/... are followed
/// @throw Refusal when it is none: no block device, a partition, or a node in a strange place
Disk wholeDisk(const std::string& path);

/// @return the removable and the USB disks with a medium in them, by name; no optical drives
std::vector<Disk> removableDisks();

/// Whether a disk says of itself that its medium is removable, as a stick does and a USB hard disk does not;
/// or it is an SD card, for which its reader speaks.
bool isRemovableMedium(const Disk& disk);

DiskDescription describe(const Disk& disk);

/// @return the number of a partition's device; 0 when there is none
dev_t partitionNumber(const Disk& disk, int partition);

/// @return the size of a partition in bytes; 0 when there is none
std::uint64_t partitionSize(const Disk& disk, int partition);

/// What is mounted of a disk, or of what stands on it.
struct MountedPlace {
    std::string place;
    dev_t device;
};
std::vector<MountedPlace> mountedPlaces(const Disk& disk);

/// The places in words: "/media/a, /media/b"; empty when there is none.
std::string placesText(const std::vector<MountedPlace>& places);

} // namespace velacreate
