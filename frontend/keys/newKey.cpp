#include "keys/newKey.h"

#include "disks/cloning.h"
#include "support/failure.h"

#include <fcntl.h>

namespace velacreate {
namespace {
/// The library fits the image before its check, which then fails as nothing can be mounted. It has come that
/// far if it reports another first sector, since the key's own was wiped.
int fitImage(KeyBuilder& builder, LibraryLogger& logger) {
    bool isOther = false;
    logger.setTrying(true);
    const int result = builder.isBootable(isOther);
    logger.setTrying(false);
    return isOther ? 0 : result;
}

/// An older file system may have left signatures where the partition begins.
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
    const auto device = openToWrite(held);
    reporter.changing();
    reporter.stage("Erasing");
    wipeSignatures(device);
    wipeEnd(device);
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
