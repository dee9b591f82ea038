#include "job/readOnlyMount.h"

#include "support/failure.h"
#include "support/programs.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>

namespace velacreate {

namespace {

constexpr const char* PLACE = "/mnt/read";

} // namespace

ReadOnlyMount::ReadOnlyMount(const std::string& source, const std::string& options) {
    mkdir(PLACE, S_IRWXU);
    const auto result = runProgram(
        {"mount", "-t", "vfat", "-o", "ro,nosuid,nodev,noexec,nosymfollow" + options, source, PLACE});
    if (result.status != 0) {
        throw Failure("the key cannot be mounted to be read: " +
                      result.output.substr(0, result.output.find('\n')));
    }
}

ReadOnlyMount::~ReadOnlyMount() {
    umount2(PLACE, UMOUNT_NOFOLLOW);
}

Descriptor ReadOnlyMount::open() const {
    return Descriptor(::open(PLACE, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

} // namespace velacreate
