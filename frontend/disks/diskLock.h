/// @file
/// Locks a key from the question to the user until its job has ended.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

namespace velacreate {

/// Locks an open disk or image of a key (flock) against other programs. Waits for a moment, since udev holds
/// the lock while it scans a disk.
/// @param name  for the message
/// @throw Refusal when another program has it
void lockAlone(const Descriptor& descriptor, const std::string& name);

/// Keeps a whole disk open and locked (flock). While it is open, the kernel gives its name to no other disk:
/// if the stick is swapped, the job fails and does not overwrite the other stick. The lock keeps udev,
/// automounters and other jobs away.
class DiskLock {
public:
    /// @throw Refusal when it cannot be opened, is another disk by now, or is locked by another program
    explicit DiskLock(const Disk& disk);

    const Disk& disk() const { return m_disk; }
    const Descriptor& descriptor() const { return m_descriptor; }

    /// Unmounts everything on the disk.
    /// @throw Refusal when a mount point is busy or covered by another mount, or when the disk is in use
    /// elsewhere, such as in another mount namespace
    void unmount() const;

private:
    Disk m_disk;
    Descriptor m_descriptor;
};

} // namespace velacreate
