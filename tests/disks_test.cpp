#include "disks/diskLock.h"
#include "disks/disks.h"
#include "disks/fatVolume.h"
#include "disks/guard.h"
#include "disks/inventory.h"
#include "disks/loopDevice.h"
#include "disks/sysfs.h"
#include "frontend.h"
#include "loop.h"

#include <mediaRules.h>

#include <cstdint>
#include <fstream>
#include <random>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/sysmacros.h>
#include <unistd.h>

using namespace velacreate;

namespace {

using KernelsViewTest = JobTest;

/// Whether a disk can be held, or why not.
std::string holding(const Disk& disk) {
    return outcomeOf([&] { return DiskLock(disk).disk().name; });
}

std::string unmounting(const DiskLock& hold) {
    return outcomeOf([&] { hold.unmount(); });
}

/// What fsck.fat counts as free, in bytes.
std::uint64_t freeByFsck(const std::string& file) {
    shell("fsck.fat -nv " + file + R"( | awk '/ bytes per cluster/ { size = $1 }
        / clusters$/ { split($(NF - 1), used, "/"); print size * (used[2] - used[1]) }' >free)");
    return std::stoull(contentOf("free"));
}

std::uint64_t numberIn(const std::string& sector, std::size_t at, std::size_t bytes) {
    std::uint64_t value = 0;
    while (bytes-- > 0) {
        value = value << 8U | static_cast<unsigned char>(sector[at + bytes]);
    }
    return value;
}

void poke(const std::string& path, std::size_t at, const std::string& bytes) {
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(static_cast<std::streamoff>(at))
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

} // namespace

/// Each row: how a file system is made, and its capacity, if that is not what the checker counts as free.
TEST(FatTest, CapacityIsWhatFilesCanTake) {
    enterFreshJob();
    for (const auto& row : rows("fat-volumes")) {
        SCOPED_TRACE(row[0]);
        prepare("rm -f fat; exec >/dev/null; " + row[0]);
        EXPECT_EQ(fatCapacity(opened("fat"), 0), row[1].empty() ? freeByFsck("fat") : std::stoull(row[1]));
    }
}

TEST(FatTest, IsFoundWhereItStartsAndNowhereElse) {
    enterFreshJob();
    shell("mkfs.fat -C fat 4000 >/dev/null && dd if=fat of=key bs=32256 seek=1 status=none");
    const auto key = opened("key");
    EXPECT_TRUE(holdsFat(key, VelaCreation::KEY_IMAGE_OFFSET));
    EXPECT_EQ(fatCapacity(key, VelaCreation::KEY_IMAGE_OFFSET), freeByFsck("fat"));
    shell("head -c 100 fat >short && >empty && yes text | head -c 9999 >text && truncate -s 9M ext && mke2fs "
          "-q ext");
    for (const char* file : {"key", "short", "empty", "text", "ext"}) {
        SCOPED_TRACE(file);
        EXPECT_FALSE(holdsFat(opened(file), 0));
        EXPECT_EQ(fatCapacity(opened(file), 0), 0U);
        EXPECT_EQ(fatCapacity(opened(file), 1U << 30U), 0U);
    }
    EXPECT_FALSE(isOnFat(key, key.status().st_dev));
}

TEST(FatTest, RandomBootSectorPromisesNoMoreThanItsSectors) {
    enterFreshJob();
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same ones each time
    int found = 0;
    for (const char* layout : {"-F 12 fat 1800", "-F 16 fat 8000", "-F 32 fat 64000"}) {
        shell(std::string("rm -f fat; mkfs.fat -s 1 -C ") + layout + " >/dev/null");
        const auto sound = contentOf("fat").substr(0, 512);
        for (int trial = 0; trial < 500; ++trial) {
            auto sector = sound;
            for (auto damaged = 1 + random() % 4; damaged > 0; --damaged) {
                sector[11 + random() % 30] =
                    static_cast<char>(random() % 3 == 0 ? random() % 256 : random() % 2);
            }
            poke("fat", 0, sector);
            const auto few = numberIn(sector, 19, 2);
            const auto capacity = fatCapacity(opened("fat"), 0);
            EXPECT_LE(capacity, (few != 0 ? few : numberIn(sector, 32, 4)) * numberIn(sector, 11, 2));
            found += capacity != 0 ? 1 : 0;
        }
    }
    EXPECT_GT(found, 50);
}

TEST(DiskNameTest, PartitionAfterADigitHasAnExtraLetter) {
    for (const auto& [disk, partition] :
         {std::pair("sda", "sda4"), {"sdab", "sdab4"}, {"mmcblk0", "mmcblk0p4"}, {"nvme0n1", "nvme0n1p4"}}) {
        EXPECT_EQ((Disk{disk, 0}.partitionName(4)), partition);
    }
}

TEST_F(DisksTest, WholeDiskIsFoundByAnyOfItsNames) {
    const Loop loop("disk");
    const auto part = loop.addFourth();
    const auto number = loop.disk().number;
    shell("ln -s " + loop.node() + " link && mknod node b " + std::to_string(major(number)) + " " +
          std::to_string(minor(number)) + " && mknod nothing b 240 7");
    const auto& name = loop.disk().name;
    const std::vector<std::pair<std::string, std::string>> found = {
        {loop.node(), name},
        {"link", name},
        {"node", name},
        {"none", "refused: 'none': No such file or directory"},
        {"nothing", "refused: 'nothing' is not a whole disk"},
        {part, "refused: '" + part + "' is not a whole disk"}};
    const auto nameOf = [](const std::string& path) {
        return outcomeOf([&] { return wholeDisk(path).name; });
    };
    for (const auto& [path, result] : found) {
        EXPECT_EQ(nameOf(path), result);
    }
    shell("mount --bind /dev/null " + loop.node());
    EXPECT_EQ(nameOf("node"), "refused: 'node' has no node of its own right below '/dev'");
    shell("umount " + loop.node());
}

TEST_F(DisksTest, SizesAndNumbersOfALoop) {
    const Loop loop("disk");
    const auto& disk = loop.disk();
    const auto part = loop.addFourth();
    EXPECT_EQ(wholeDisk(loop.node()).number, disk.number);
    EXPECT_EQ(describe(disk).size, 16U << 20U);
    EXPECT_EQ(partitionNumber(disk, 4), blockDevice(part));
    EXPECT_EQ(partitionSize(disk, 4), 16384U * 512);
    EXPECT_EQ(partitionNumber(disk, 3), 0U);
    EXPECT_EQ(partitionSize(disk, 3), 0U);
}

TEST_F(DisksTest, PartOfAFileAsALoopUntilItIsClosed) {
    shell("printf part | dd of=disk bs=16384 seek=1 conv=notrunc status=none");
    auto loop = attachLoopDevice(opened("disk", O_RDWR), {16384, 1024});
    std::string begin(4, ' ');
    EXPECT_EQ(readAt(loop.number(), begin.data(), begin.size(), 0), 4);
    EXPECT_EQ(begin, "part");
    EXPECT_EQ(sizeOf(loop), 1024U);
    const auto file = deviceDirectory(loop.status().st_rdev) / "loop/backing_file";
    EXPECT_TRUE(exists(file));
    loop = Descriptor();
    EXPECT_FALSE(exists(file));
}

/// Each row: what is done to a blank disk; what is said to be on it.
TEST_F(DisksTest, ContentIsWhatStandsThereNow) {
    for (const auto& row : rows("disk-contents")) {
        SCOPED_TRACE(row[0]);
        shell("rm disk && truncate -s 16M disk");
        prepare("exec >/dev/null 2>&1\n" + row[0]);
        EXPECT_EQ(contentOf(Loop("disk").disk()), row[1]);
    }
    EXPECT_EQ(contentOf(Disk{"null", 1}), "not readable");
}

TEST_F(KernelsViewTest, WhichDisksAreRemovable) {
    std::string found;
    whileEmpty("/sys/block", [&] {
        whileEmpty("/sys/dev/block", [&] {
            prepare("asKernel 1:1 stick 9 1 0 && asKernel 1:2 hub/usb 9 0 0 && asKernel 1:3 fixed 9 0 0\n"
                    "asKernel 1:4 reader 0 1 0 && asKernel 1:5 optical 9 1 5\n"
                    "asKernel 1:6 sd 9 0 SD && asKernel 1:7 emmc 9 0 MMC\n"
                    "touch /sys/block/hub/busnum && ln -s hub/usb /sys/block");
            for (const auto& disk : removableDisks()) {
                found += disk.name + (isRemovableMedium(disk) ? " by itself, " : ", ");
            }
        });
    });
    EXPECT_EQ(found, "sd by itself, stick by itself, usb, ");
}

/// Each row: what the kernel shows of a stick, which is 1:1, besides; why it cannot be a key.
TEST_F(KernelsViewTest, WhichDisksAreLeftAlone) {
    for (const auto& row : rows("guard")) {
        SCOPED_TRACE(row[0]);
        whileEmpty("/sys/block", [&] {
            whileEmpty("/sys/dev/block", [&] {
                whileEmpty("/proc", [&] {
                    prepare("asKernel 1:1 stick 9 1 0; mkdir /proc/self; >/proc/self/mountinfo\n" + row[0]);
                    EXPECT_EQ(ineligibilityReason({"stick", makedev(1, 1)}, false), row[1]);
                });
            });
        });
    }
}

TEST_F(DisksTest, ObjectionsToADisk) {
    {
        const Loop loop("disk");
        EXPECT_EQ(ineligibilityReason(loop.disk(), false),
                  "is neither removable nor on USB: 16.0 MiB, blank");
        EXPECT_EQ(lacksPartition(loop.disk()), "has no fourth partition (/dev/" +
                                                   loop.disk().partitionName(4) +
                                                   "); --erase makes a key of any stick");
        const auto part = loop.addFourth();
        EXPECT_EQ(ineligibilityReason(loop.disk(), true) + lacksPartition(loop.disk()), "");
        for (const auto& [place, words] : {std::pair("/mnt/a", ""),
                                           {"/boot", "carries '/boot' of this machine"},
                                           {"/boot/efi", "carries '/boot/efi' of this machine"}}) {
            shell("mount " + part + " " + place);
            EXPECT_EQ(ineligibilityReason(loop.disk(), true), words);
            shell("umount " + std::string(place));
        }
    }
    shell("touch empty");
    EXPECT_EQ(ineligibilityReason(Loop("disk", "-r").disk(), true), "is read-only");
    EXPECT_EQ(ineligibilityReason(Loop("empty").disk(), true), "has no medium in it");
}

TEST_F(DisksTest, FileOnADiskThatCarriesTheSystem) {
    const Loop outer("disk");
    shell("mount " + outer.addFourth() + " /mnt/a && truncate -s 4M /mnt/a/inner && mke2fs -q /mnt/a/inner");
    const DiskLock hold(outer.disk());
    {
        const Loop inner("/mnt/a/inner");
        shell("mount " + inner.node() + " /boot/efi && mount --bind /boot/efi /mnt/b");
        EXPECT_EQ(placesText(mountedPlaces(outer.disk())), "/mnt/a, /boot/efi, /mnt/b");
        EXPECT_EQ(mountedPlaces(outer.disk()).back().device, inner.disk().number);
        EXPECT_EQ(placesText(mountedPlaces(inner.disk())), "/boot/efi, /mnt/b");
        EXPECT_EQ(ineligibilityReason(outer.disk(), true), "carries '/boot/efi' of this machine");
        EXPECT_EQ(unmounting(hold), "refused: '/mnt/a' is in use; close what is open there, or unmount it");
        EXPECT_EQ(placesText(mountedPlaces(outer.disk())), "/mnt/a");
        EXPECT_EQ(ineligibilityReason(outer.disk(), true), "");
    }
    hold.unmount();
    EXPECT_EQ(placesText(mountedPlaces(outer.disk())), "");
}

TEST_F(DisksTest, UnmountingNamesWhatIsInTheWay) {
    const Loop loop("disk");
    const auto part = loop.addFourth();
    const DiskLock hold(loop.disk());
    shell("mount " + part + " /mnt/a && mount " + part + " /mnt/b");
    {
        const auto busy = opened("/mnt/b");
        EXPECT_EQ(unmounting(hold), "refused: '/mnt/b' is in use; close what is open there, or unmount it");
    }
    shell("mount -t tmpfs over /mnt/a");
    EXPECT_EQ(unmounting(hold), "refused: '/mnt/a' has another file system mounted over it; unmount both");
    shell("umount /mnt/a");
    hold.unmount();
    EXPECT_EQ(placesText(mountedPlaces(loop.disk())), "");
    const auto claim = opened(part, O_RDONLY | O_EXCL); // as a mount that cannot be seen from here
    EXPECT_EQ(unmounting(hold), "refused: " + loop.node() +
                                    " is still in use, though not mounted here; a container may have it");
}

TEST_F(DisksTest, HoldIsForOneOnlyAndCountsTraffic) {
    const Loop loop("disk");
    const auto& disk = loop.disk();
    {
        const DiskLock hold(disk);
        EXPECT_EQ(holding(disk), "refused: another program is working on " + loop.node());
        const auto before = trafficOf(disk);
        shell("dd if=/dev/zero of=" + loop.node() + " bs=64k count=16 oflag=direct status=none; dd if=" +
              loop.node() + " of=/dev/null bs=64k count=8 iflag=direct status=none");
        const auto after = trafficOf(disk);
        EXPECT_EQ(after.written - before.written, 2048U);
        EXPECT_EQ(after.read - before.read, 1024U);
    }
    auto glance = opened(loop.node()); // as udev's
    ASSERT_EQ(flock(glance.number(), LOCK_EX), 0);
    std::thread end([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        glance = Descriptor();
    });
    EXPECT_EQ(holding(disk), disk.name);
    end.join();
    EXPECT_EQ(holding({disk.name, makedev(8, 250)}),
              "refused: " + loop.node() + " is not the disk any more that it was");
    EXPECT_EQ(holding({"none", 1}), "refused: /dev/none: No such file or directory");
}
