#include "keys/keyTarget.h"

#include "inputs/names.h"
#include "job/childProcess.h"
#include "job/jobDirectory.h"
#include "support/failure.h"
#include "support/programs.h"

#include <mediaRules.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace velacreate {

using VelaCreation::KEY_IMAGE_OFFSET;

namespace {
const std::string IMAGE_NAME = "key.img";
const std::string IMAGE_PLACE = std::string(OWN_PLACE) + "/" + LIBRARY_FOLDER + "/" + IMAGE_NAME;

constexpr const char* READING_PLACE = "/mnt/read";
} // namespace

void lockKeyImage(const Descriptor& image, const std::string& name) {
    if (flock(image.number(), LOCK_EX | LOCK_NB) != 0) {
        throw Refusal("another program is working on " + name);
    }
}

ReadOnlyMount::ReadOnlyMount(const std::string& source, const std::string& options) {
    mkdir(READING_PLACE, S_IRWXU);
    const auto result = runProgram(
        {"mount", "-t", "vfat", "-o", "ro,nosuid,nodev,noexec,nosymfollow" + options, source, READING_PLACE});
    if (result.status != 0) {
        throw Failure("the key cannot be mounted to be read: " +
                      result.output.substr(0, result.output.find('\n')));
    }
}

ReadOnlyMount::~ReadOnlyMount() {
    umount2(READING_PLACE, UMOUNT_NOFOLLOW);
}

Descriptor ReadOnlyMount::open() const {
    return Descriptor(::open(READING_PLACE, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

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

ReadOnlyMount mountToRead(const KeyTarget& target) {
    return target.disk ? ReadOnlyMount(target.disk->keyPartitionNode())
                       : ReadOnlyMount(IMAGE_PLACE, ",loop,offset=" + std::to_string(KEY_IMAGE_OFFSET));
}

} // namespace velacreate
