#include "keys/newKey.h"

#include "disks/cloning.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// By its fourth partition's end address, which the library reads the geometry from.
void requireGeometry(const Descriptor& image, const std::string& name) {
    std::uint8_t sector = 0;
    if (readAt(image.number(), &sector, 1, VelaCreation::END_ADDRESS_OFFSET + 1) != 1 ||
        VelaCreation::sectorsPerTrack(sector) == 0) {
        throw Failure("the clone image " + quote(name) + " of the package has no fourth partition");
    }
}

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
    const auto node = disk.keyPartitionNode();
    const Descriptor partition(open(node.c_str(), O_RDWR | O_CLOEXEC));
    check(partition.isOpen()).orFail(node);
    wipeSignatures(partition);
}
} // namespace

int makeNewKey(const Disk& disk, const Descriptor& held, const std::string& cloneImage, KeyBuilder& builder,
               LibraryLogger& logger, Reporter& reporter) {
    const Descriptor image(open(cloneImage.c_str(), O_RDONLY | O_CLOEXEC));
    check(image.isOpen()).orFail(quote(cloneImage));
    requireGeometry(image, cloneImage);
    const auto device = openToWrite(held);
    reporter.changing();
    reporter.stage("Erasing");
    wipeSignatures(device);
    if (const int result = fitImage(builder, logger); result != 0) {
        return result;
    }
    if (builder.cloneImage() != cloneImage) {
        throw Failure("the stick is of another size than before");
    }
    reporter.stage("Writing the clone image", static_cast<std::uint64_t>(image.status().st_size));
    cloneTo(device, image, [&](std::uint64_t bytes) { reporter.advance(bytes); });
    rereadPartitionTable(device, disk, KEY_PARTITION);
    wipePartition(disk);
    return 0;
}

} // namespace velacreate
