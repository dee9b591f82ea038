// Disks for tests.
#pragma once

#include "disks/disks.h"
#include "disks/sysfs.h"
#include "frontend.h"

#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mount.h>

/// A loop device, which the kernel frees by itself once nothing uses it any more.
class Loop {
public:
    explicit Loop(const std::string& file, unsigned flags = 0, unsigned sectorSize = 512)
        : m_file(opened(file, O_RDWR)), m_device(attached(m_file, flags, sectorSize)),
          m_disk{velacreate::deviceDirectory(m_device.status().st_rdev).filename(),
                 m_device.status().st_rdev} {}

    const velacreate::Disk& disk() const { return m_disk; }
    std::string node() const { return m_disk.node(); }
    const velacreate::Descriptor& file() const { return m_file; }

    /// Makes the partition that a key has, with a file system of its own, and nothing else on it.
    std::string addFourth() const {
        shell("addpart " + node() + " 4 2048 16384");
        auto part = "/dev/" + m_disk.partitionName(4);
        shell("mke2fs -q " + part);
        return part;
    }

private:
    static velacreate::Descriptor attached(const velacreate::Descriptor& file, unsigned flags,
                                           unsigned sectorSize) {
        const auto control = opened("/dev/loop-control", O_RDWR);
        for (;;) {
            auto device =
                opened("/dev/loop" + std::to_string(ioctl(control.number(), LOOP_CTL_GET_FREE)), O_RDWR);
            loop_config wanted{};
            wanted.fd = static_cast<unsigned>(file.number());
            wanted.block_size = sectorSize;
            wanted.info.lo_flags = LO_FLAGS_AUTOCLEAR | LO_FLAGS_PARTSCAN | flags;
            if (ioctl(device.number(), LOOP_CONFIGURE, &wanted) == 0) {
                return device;
            }
            if (errno != EBUSY) { // else somebody else was faster
                throw std::runtime_error(velacreate::SystemError().about("a loop device"));
            }
        }
    }

    velacreate::Descriptor m_file;
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
