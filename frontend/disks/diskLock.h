/// @file
/// A key is locked from the question until its job has ended.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

namespace velacreate {

/// Keeps a whole disk open and locked (flock). While it is open, the kernel gives its name to no other disk,
/// so a job on a swapped stick fails and does not overwrite the other stick. The lock keeps udev,
/// automounters and a second job away.
class DiskLock {
public:
    /// @throw Refusal when it cannot be opened, is another disk by now, or is locked by another program
    explicit DiskLock(const Disk& disk);

    const Disk& disk() const { return m_disk; }
    const Descriptor& descriptor() const { return m_descriptor; }

    /// Unmounts all that is mounted of it.
    /// @throw Refusal when a place is busy or covered by another mount, naming it; or when something out of
    /// sight keeps the disk, such as a mount in another namespace
    void unmount() const;

    /// Sectors of 512 bytes that were written to and read from the whole disk so far; 0 when the disk is
    /// gone.
    struct Traffic {
        std::uint64_t written;
        std::uint64_t read;
    };
    Traffic traffic() const;

private:
    Disk m_disk;
    Descriptor m_descriptor;
};

} // namespace velacreate
