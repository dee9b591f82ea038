#include "keys/keyTarget.h"

#include "inputs/names.h"
#include "job/childProcess.h"
#include "job/jobDirectory.h"
#include "support/failure.h"

namespace velacreate {

namespace {
const std::string IMAGE_NAME = "key.img";
const std::string IMAGE_PLACE = std::string(OWN_PLACE) + "/" + LIBRARY_FOLDER + "/" + IMAGE_NAME;
} // namespace

Descriptor openImageAgain(const KeyTarget& target) {
    if (!hasOwnMounts()) {
        throw Refusal("a key needs mounts of its own, and this machine does not grant them");
    }
    return target.disk ? Descriptor() : openAgain(target.open, target.imagePath);
}

std::string placeImage(const KeyTarget& target, const Descriptor& image) {
    placeFile(image, target.imagePath, IMAGE_NAME);
    return IMAGE_PLACE;
}

} // namespace velacreate
