#include "keys/writeKey.h"

#include "disks/cloning.h"
#include "forms/keyRecord.h"
#include "medium/comparison.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// Old marks may lie where no block is written: at fixed places of the disk, and of the new partition.
void wipe(const KeyImage& image, const Descriptor& device) {
    MediumBytes bytes(image.blocks().file, image.size());
    wipeSignatures(device);
    wipeSignatures(device, keyPartition(bytes).value_or(ByteRange{}).offset);
    wipeEnd(device);
    check(fsync(device.number()) == 0).orFail("what is on the disk cannot be wiped");
}

int writeAndReadBack(const KeyImage& image, const Descriptor& held, bool isReadBack, Reporter& reporter) {
    const auto device = openToWrite(held);
    reporter.changing();
    reporter.stage("Erasing");
    wipe(image, device);
    reporter.stage(STAGE_WRITING_IMAGE);
    check(fcntl(device.number(), F_SETFL, O_DIRECT) == 0).orFail("the disk cannot be written past the cache");
    writeBlocks(image.blocks(), device);
    const int status = isReadBack ? compareWithKeyImage(image, held, JobKind::making, reporter) : 0;
    image.requireUnchanged();
    ioctl(device.number(), BLKRRPART); // for who uses the key next
    return status;
}
} // namespace

int writeKey(const KeyImage& image, const Disk& disk, const Descriptor& held, bool isReadBack,
             Reporter& reporter) {
    int status = EXIT_UNFINISHED;
    try {
        status = writeAndReadBack(image, held, isReadBack, reporter);
    } catch (const Failure& failure) {
        reporter.reason(failure.what());
    }
    if (status != 0 && isPulledOut(disk)) {
        reporter.reason(PULLED_OUT);
    }
    return status;
}

int compareWithKeyImage(const KeyImage& image, const Descriptor& held, JobKind kind, Reporter& reporter) {
    const Descriptor here(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto disk = openUncached(held);
    const int status = compareBlocksConfined(here, image.blocks(), {disk, sizeOf(disk)}, kind, reporter);
    image.requireUnchanged();
    return status;
}

bool isSameAsKeyImage(const KeyImage& image, const Descriptor& held, Reporter& reporter) {
    const Descriptor here(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto disk = openUncached(held);
    const bool isSame =
        compareBlocksToFirstDifference(here, image.blocks(), {disk, sizeOf(disk)}, reporter) == 0;
    image.requireUnchanged();
    return isSame;
}

} // namespace velacreate
