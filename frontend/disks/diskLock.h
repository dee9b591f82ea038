/// @file
/// A key, from the question to the user until its job has ended.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

namespace velacreate {

/// Keeps a whole disk open: as long as it is, the kernel gives its name to no other disk, so that a stick
/// that is swapped shows as a failure and not as another victim. The disk is locked (flock), which keeps
/// udev, and with it automounters, off a disk that is being changed, and a second job away.
class DiskLock {
public:
    /// @throw Refusal when it cannot be opened, is not the disk it was, or "another program is working on
    /// /dev/sdb"
    explicit DiskLock(const Disk& disk);

    const Disk& disk() const { return m_disk; }
    const Descriptor& descriptor() const { return m_descriptor; }

    /// Unmounts all that is mounted of it.
    /// @throw Refusal when a place is busy or covered by another mount, naming it; or when something out of
    /// sight keeps the disk, such as a mount in another namespace
    void unmount() const;

    /// Sectors of 512 bytes written to and read from the whole disk so far, by the kernel's count; 0 once it
    /// is gone.
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
