#include "disks/diskLock.h"

#include "support/failure.h"
#include "support/waiting.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

namespace velacreate {
namespace {
/// Opens for reading only: udev scans a disk again when a descriptor for writing is closed.
Descriptor openDisk(const std::string& node, int flags) {
    return Descriptor(open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | flags));
}

/// Whether another file system is mounted over this one; it would be unmounted instead.
bool isCovered(const MountedPlace& mounted) {
    struct stat about {};
    const bool hasNumberOfItsOwn =
        major(mounted.device) == 0; // btrfs has a number of its own for each subvolume
    return !hasNumberOfItsOwn && lstat(mounted.place.c_str(), &about) == 0 && about.st_dev != mounted.device;
}

void unmountPlace(const MountedPlace& mounted) {
    refuseIf(isCovered(mounted),
             quote(mounted.place) + " has another file system mounted over it; unmount both");
    if (umount2(mounted.place.c_str(), UMOUNT_NOFOLLOW) == 0) {
        return;
    }
    const SystemError error;
    refuseIf(error.number() == EBUSY,
             quote(mounted.place) + " is in use; close what is open there, or unmount it");
    throw Refusal(error.about(quote(mounted.place) + " cannot be unmounted"));
}
} // namespace

void lockAlone(const Descriptor& descriptor, const std::string& name) {
    using namespace std::chrono_literals;
    const bool isLocked = becomesTrue(2s, [&] {
        const bool isDone = flock(descriptor.number(), LOCK_EX | LOCK_NB) == 0;
        check(isDone || errno == EWOULDBLOCK || errno == EINTR).orRefuse(name);
        return isDone;
    });
    refuseIf(!isLocked, "another program is working on " + name);
}

DiskLock::DiskLock(const Disk& disk) : m_disk(disk), m_descriptor(openDisk(disk.node(), 0)) {
    check(m_descriptor.isOpen()).orRefuse(disk.node());
    refuseIf(m_descriptor.status().st_rdev != disk.number,
             disk.node() + " is not the disk any more that it was");
    lockAlone(m_descriptor, disk.node());
}

void DiskLock::unmount() const {
    // The last mount may be on top of the others. Mounts are shared, so unmounting one may remove others.
    for (auto places = mountedPlaces(m_disk); !places.empty(); places = mountedPlaces(m_disk)) {
        unmountPlace(places.back());
    }
    // Mounts in other mount namespaces are not listed, but O_EXCL fails because of them.
    if (openDisk(m_disk.node(), O_EXCL).isOpen()) {
        return;
    }
    const SystemError error;
    refuseIf(error.number() == EBUSY,
             m_disk.node() + " is still in use, though not mounted here; a container may have it");
    throw Refusal(error.about(m_disk.node()));
}

} // namespace velacreate
