#include "commands/newKey.h"

#include "disks/cloning.h"
#include "support/failure.h"

#include <fcntl.h>

namespace velacreate {

namespace {

constexpr int PARTITION = 4;

/// The library chooses and fits the image on the way to its check, which then finds nothing to mount. That it
/// came so far shows by the first sector, which cannot be the image's after the wiping.
int fitImage(KeyBuilder& builder, LibraryLogger& logger) {
    bool isOther = false;
    logger.setTrying(true);
    const int result = builder.isBootable(isOther);
    logger.setTrying(false);
    return isOther ? 0 : result;
}

/// Older file systems may have left something where the partition now begins.
void wipePartition(const Disk& disk) {
    const auto node = "/dev/" + disk.partitionName(PARTITION);
    const Descriptor partition(open(node.c_str(), O_RDWR | O_CLOEXEC));
    if (!partition.isOpen()) {
        throw Failure(withError(node));
    }
    wipeSignatures(partition);
}

} // namespace

int makeNewKey(const Disk& disk, const Descriptor& held, KeyBuilder& builder, LibraryLogger& logger,
               Reporter& reporter) {
    reporter.changing();
    reporter.stage("Erasing");
    const auto device = openToWrite(held);
    wipeSignatures(device);
    if (const int result = fitImage(builder, logger); result != 0) {
        return result;
    }
    const Descriptor image(open(builder.cloneImage().c_str(), O_RDONLY | O_CLOEXEC));
    if (!image.isOpen()) {
        throw Failure(withError(shown(builder.cloneImage())));
    }
    reporter.stage("Writing the partition table", static_cast<std::uint64_t>(image.status().st_size));
    cloneTo(device, image, [&](std::uint64_t bytes) { reporter.advance(bytes); });
    readTableAnew(device, disk, PARTITION);
    wipePartition(disk);
    return 0;
}

} // namespace velacreate
