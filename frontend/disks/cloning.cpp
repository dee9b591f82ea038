#include "disks/cloning.h"

#include "disks/probe.h"
#include "disks/sysfs.h"
#include "support/failure.h"
#include "support/texts.h"
#include "support/waiting.h"

#include <keyDescription.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <vector>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace velacreate {
namespace {
using namespace std::chrono_literals;

constexpr std::uint64_t SMALLEST_KEY = 8U << 20U;
constexpr std::uint64_t LARGEST_KEY = (VelaCreation::CAPACITY_UNKNOWN - std::uint64_t{1}) * SECTOR;

constexpr const char* NOT_ALL_TAKEN = "the disk could not take all that was written";

/// A limit for a disk that ignores writes and keeps its signatures.
constexpr int MOST_SIGNATURES = 1000;
} // namespace

std::string eraseIneligibilityReason(const Disk& disk, const std::string& cloneImage,
                                     std::uint64_t imageSize) {
    const auto size = describe(disk).size;
    if (size < SMALLEST_KEY) {
        return "is too small: a key has at least 8 MiB";
    }
    if (size < imageSize) {
        return "is smaller than " + quote(cloneImage) + " of the package (" + sizeText(imageSize) + ")";
    }
    if (size > LARGEST_KEY) {
        return "is too large: a key has less than 2 TiB";
    }
    return sectorIneligibilityReason(disk);
}

std::string sectorIneligibilityReason(const Disk& disk) {
    const auto sectorSize = attribute(deviceDirectory(disk.number) / "queue/logical_block_size");
    return sectorSize == std::to_string(SECTOR)
               ? ""
               : "has sectors of " + sectorSize + " bytes, which a key cannot have";
}

Descriptor openToWrite(const Descriptor& disk) {
    Descriptor device(open(disk.path().c_str(), O_RDWR | O_EXCL | O_CLOEXEC));
    check(device.isOpen()).orFail("the disk cannot be opened for writing");
    return device;
}

void wipeSignatures(const Descriptor& device, std::uint64_t offset) {
    const auto probe = signatureProbe(device, offset);
    for (int found = 0; found < MOST_SIGNATURES; ++found) {
        if (!findSignature(probe)) {
            return;
        }
        check(blkid_do_wipe(probe.get(), 0) == 0).orFail("what is on the disk cannot be wiped");
    }
    throw Failure("what is on the disk is still there after it was wiped");
}

void wipeEnd(const Descriptor& device) {
    constexpr std::uint64_t endSize = 2U << 20U; // more than any RAID needs
    const auto size = sizeOf(device);
    const std::vector<char> zeros(std::min(endSize, size));
    auto found = zeros;
    if (readAt(device.number(), found.data(), found.size(), size - found.size()) ==
            static_cast<ssize_t>(found.size()) &&
        found == zeros) {
        return;
    }
    check(lseek(device.number(), static_cast<off_t>(size - zeros.size()), SEEK_SET) >= 0)
        .orFail("the end of the disk");
    writeAll(device, zeros.data(), zeros.size(), "the end of the disk");
}

void cloneTo(const Descriptor& device, const Descriptor& image, const Advance& advance) {
    // Earlier reads may have moved the offset.
    check(lseek(device.number(), 0, SEEK_SET) == 0).orFail("the beginning of the disk");
    // Flushed piece by piece, so that progress counts only bytes that are on the disk. The kernel tells of a
    // write error only once.
    const auto flushAndTell = [&](std::uint64_t bytes) {
        check(fdatasync(device.number()) == 0).orFail(NOT_ALL_TAKEN);
        advance(bytes);
    };
    copyContent(image, device, "the clone image", flushAndTell);
    check(fsync(device.number()) == 0).orFail(NOT_ALL_TAKEN);
}

void rereadPartitionTable(const Descriptor& device, const Disk& disk, int partition) {
    constexpr const char* NEXT_STEP = "; plug it in again and repeat --erase";
    int error = 0;
    // The kernel refuses while a partition is open, for example by udev.
    becomesTrue(5s, [&] {
        error = ioctl(device.number(), BLKRRPART) == 0 ? 0 : errno;
        return error != EBUSY;
    });
    if (error != 0) {
        errno = error;
        throw Failure(SystemError().about("the new partition table of " + disk.node() + " cannot be read") +
                      NEXT_STEP);
    }
    if (!becomesTrue(10s, [&] { return hasPartitionNode(disk, partition); })) {
        throw Failure(disk.partitionNode(partition) + " did not appear after the disk was written" +
                      NEXT_STEP);
    }
}

} // namespace velacreate
