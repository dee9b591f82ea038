// Disks for tests.
#pragma once

#include "disks/disks.h"
#include "disks/sysfs.h"
#include "frontend.h"

#include <filesystem>

#include <sys/mount.h>

/// A loop device, which the kernel frees by itself once nothing uses it any more.
class Loop {
public:
    /// @param options  of losetup
    explicit Loop(const std::string& file, const std::string& options = "")
        : m_device(attached(file, options)),
          m_disk{velacreate::deviceDirectory(m_device.status().st_rdev).filename(),
                 m_device.status().st_rdev} {
        shell("losetup -d " + node()); // as soon as it is closed
    }

    const velacreate::Disk& disk() const { return m_disk; }
    std::string node() const { return m_disk.node(); }

    /// Makes the partition that a key has, with a file system of its own, and nothing else on it.
    std::string addFourth() const {
        shell("addpart " + node() + " 4 2048 16384");
        auto part = "/dev/" + m_disk.partitionName(4);
        shell("mke2fs -q " + part);
        return part;
    }

private:
    static velacreate::Descriptor attached(const std::string& file, const std::string& options) {
        shell("losetup -fP --show " + options + " " + file + " 2>&1 | tail -n 1 | tr -d '\\n' >loop");
        return opened(contentOf("loop"), O_RDWR);
    }

    velacreate::Descriptor m_device;
    velacreate::Disk m_disk;
};

/// Each with a blank disk of 16 MiB to attach, and nothing mounted below /mnt.
struct DisksTest : JobTest {
    void SetUp() override {
        NEEDS_ROOT("loop devices");
        if (!std::filesystem::exists("/dev/loop-control")) {
            GTEST_SKIP() << "there are no loop devices here";
        }
        shell("truncate -s 16M disk && mkdir -p /mnt/a /mnt/b /boot/efi");
    }
    ~DisksTest() override {
        for (const char* place : {"/boot/efi", "/mnt/b", "/mnt/a"}) {
            while (umount2(place, MNT_DETACH) == 0) {
            }
        }
    }
};
