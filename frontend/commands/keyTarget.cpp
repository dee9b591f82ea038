#include "commands/keyTarget.h"

#include "disks/fatVolume.h"
#include "job/jobDirectory.h"

namespace velacreate {

namespace {

const std::string IMAGE_NAME = "key.img";
const std::string IMAGE_PLACE = "/mnt/job/.job/" + IMAGE_NAME;

} // namespace

std::string placeImage(const KeyTarget& target, const Descriptor& image) {
    placeFile(image, target.imagePath, IMAGE_NAME);
    return IMAGE_PLACE;
}

ReadOnlyMount mountToRead(const KeyTarget& target) {
    return target.disk ? ReadOnlyMount(target.disk->keyPartitionNode())
                       : ReadOnlyMount(IMAGE_PLACE, ",loop,offset=" + std::to_string(IMAGE_OFFSET));
}

} // namespace velacreate
