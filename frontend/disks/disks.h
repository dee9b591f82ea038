/// @file
/// The disks of this machine.
#pragma once

#include "support/descriptor.h"

#include <mediaRules.h>

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// A whole disk.
struct Disk {
    std::string name; ///< the kernel's, such as "sdb"; safe as a shell word
    dev_t number;

    std::string node() const { return "/dev/" + name; }
    /// @return the kernel's name of a partition, such as "sdb4" or "mmcblk0p4"
    std::string partitionName(int partition) const;

    /// @return such as "/dev/sdb4"
    std::string partitionNode(int partition) const { return "/dev/" + partitionName(partition); }

    /// The node of the partition with a key's files.
    std::string keyPartitionNode() const;
    /// Opens it for reading.
    /// @return closed, with errno set, when it cannot be opened
    Descriptor openKeyPartition() const;
};

/// The kernel's and libblkid's unit for every disk, in bytes.
constexpr std::uint64_t SECTOR = VelaCreation::SECTOR_SIZE;

using VelaCreation::KEY_PARTITION;

/// What a user recognises a disk by; empty where unknown.
struct DiskDescription {
    std::string vendor;
    std::string model; ///< the whole text
    std::string serial;
    std::string port;       ///< such as "usb 1-2"
    std::uint64_t size = 0; ///< in bytes

    /// Vendor and model.
    std::string name() const;
};

/// @return the whole disk that a path names; links such as /dev/disk/by-id/... are followed
/// @throw Refusal when it names no block device, a partition, or a node outside "/dev"
Disk wholeDisk(const std::string& path);

/// @return the removable disks and the USB disks, each with a medium, sorted by name; no optical drives
std::vector<Disk> removableDisks();

/// @return the whole disk, or the optical drive, with this number
Disk diskOf(dev_t number);

bool isOpticalDrive(const Disk& disk);

/// Whether the medium is removable, such as a stick or an SD card, but not a USB hard disk.
bool isRemovableMedium(const Disk& disk);

DiskDescription describe(const Disk& disk);

constexpr const char* PULLED_OUT = "the key was pulled out";

/// Whether a disk that could not be read or written was pulled out. The kernel may take a moment to tell.
bool isPulledOut(const Disk& disk);

/// Sectors of 512 bytes written to and read from a whole disk so far; 0 when the disk is gone.
struct Traffic {
    std::uint64_t written;
    std::uint64_t read;
};
Traffic trafficOf(const Disk& disk);

/// @return the number of a partition's device; 0 when there is none
dev_t partitionNumber(const Disk& disk, int partition);

/// Whether there is a partition, and its node leads to it.
bool hasPartitionNode(const Disk& disk, int partition);

/// @return the size of a partition in bytes; 0 when there is none
std::uint64_t partitionSize(const Disk& disk, int partition);

/// A mount of a disk, or of a device on top of it, such as LVM.
struct MountedPlace {
    std::string place;
    dev_t device;
};
std::vector<MountedPlace> mountedPlaces(const Disk& disk);

/// @return such as "/media/a, /media/b"; empty when there is none
std::string placesText(const std::vector<MountedPlace>& places);

} // namespace velacreate
