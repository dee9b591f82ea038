#include "commands/commands.h"

#include "commands/consent.h"
#include "commands/fillKey.h"
#include "commands/scratch.h"
#include "disks/fatVolume.h"
#include "disks/guard.h"
#include "disks/keyHold.h"
#include "inputs/limits.h"
#include "job/workplace.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <algorithm>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace velacreate {

namespace {

constexpr std::uint64_t SECTOR = 512;

void requireRoot() {
    if (geteuid() != 0) {
        throw Refusal("a key is mounted and formatted, which takes root's rights; run this with sudo");
    }
}

void requireFitting(const Contents& contents, std::uint64_t capacity, const std::string& medium) {
    std::uint64_t size = 0;
    for (const auto& [place, part] : contents.tree) {
        requireFileSize(place, part.size, "a FAT file system");
        size += (part.size + SECTOR - 1) / SECTOR * SECTOR;
    }
    if (capacity == 0) {
        throw Refusal(medium + " holds no FAT file system");
    }
    if (size > capacity) {
        throw Refusal("the files take " + sizeText(size) + ", and " + medium + " holds " +
                      sizeText(capacity));
    }
}

int runJob(const KeyJob& job, const std::string& medium, const std::string& size,
           const ScratchDirectory& scratch, const std::map<std::string, Gauge>& gauges,
           const HeldSignals& signals, Console& console) {
    job.inputs.announce(console, medium);
    Workplace workplace(scratch.directory(), scratch.path());
    const auto outcome = watch({{medium, workplace.directory().number(),
                                 [&](Reporter& reporter) { return fillKey(job, reporter); }, gauges}},
                               1, signals, console)
                             .front();
    leave(job.choices, workplace, console);
    return conclude(console, outcome, medium, size + readBackText(job.choices.verify));
}

std::string cloneImageFor(std::uint64_t size) {
    constexpr std::uint64_t GIB = 1U << 30U;
    return size <= GIB       ? "init1.img"
           : size <= 2 * GIB ? "init2.img"
           : size <= 4 * GIB ? "init4.img"
                             : "init8.img";
}

/// Of files, at the most. What a new file system takes for itself is not known before.
std::uint64_t capacityOf(const Disk& disk, const std::string& format) {
    if (format != "never") {
        return partitionSize(disk, 4);
    }
    const Descriptor partition(open(("/dev/" + disk.partitionName(4)).c_str(), O_RDONLY | O_CLOEXEC));
    return fatCapacity(partition, 0);
}

int fillDevice(const UsbChoices& choices, const Inputs& inputs, const ScratchDirectory& scratch) {
    if (choices.format != "never") {
        requirePrograms({"mkfs", "mkfs.vfat", "sfdisk"});
    }
    const KeyHold key(wholeDisk(choices.device));
    if (const auto reason = objection(key.disk(), choices.anyDisk); !reason.empty()) {
        throw Refusal(key.disk().node() + " " + reason);
    }
    const auto size = describe(key.disk()).size;
    if (choices.format == "auto") {
        inputs.package.requireFile(cloneImageFor(size), "a key of this size is recognised by it");
    }
    requireFitting(inputs.contents, capacityOf(key.disk(), choices.format),
                   "partition 4 of " + key.disk().node());
    auto console = openConsole(choices.job.show, "", &inputs);
    const HeldSignals signals;
    if (const int status = askForConsent(key, choices, signals); status != 0) {
        console.complain("interrupted; the key was left as it is");
        return status;
    }
    key.unmount();

    const auto before = key.traffic().written;
    const Gauge written{inputs.contents.size(), [&key, before] {
                            return (std::max(key.traffic().written, before) - before) *
                                   SECTOR; // 0 once it is pulled
                        }};
    return runJob({choices.job, inputs, key.descriptor(), key.disk(), "", choices.format},
                  "the key " + key.disk().node(), sizeText(size), scratch,
                  {{"Copying files to working directory", written},
                   {"Copying files to USB key", written},
                   {"Writing out", written}},
                  signals, console);
}

int fillImage(const UsbChoices& choices, const Inputs& inputs, const ScratchDirectory& scratch) {
    if (choices.format == "always") {
        throw Refusal("an image is not formatted; leave out --format always");
    }
    const auto path = absolutePath(choices.image);
    const Descriptor image(open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!image.isOpen()) {
        throw Refusal(withError(shown(path)));
    }
    const auto about = image.status();
    if (!S_ISREG(about.st_mode)) {
        throw Refusal(shown(path) + " is not a file");
    }
    inputs.requireOther(about, "the image " + shown(path));
    requireFitting(inputs.contents, fatCapacity(image, IMAGE_OFFSET),
                   shown(path) + ", at byte " + std::to_string(IMAGE_OFFSET) + ",");
    if (flock(image.number(), LOCK_EX | LOCK_NB) != 0) {
        throw Refusal("another program is working on " + shown(path));
    }
    auto console = openConsole(choices.job.show, path, &inputs);
    const HeldSignals signals;
    return runJob({choices.job, inputs, image, std::nullopt, path, "never"}, "the key image " + shown(path),
                  sizeText(static_cast<std::uint64_t>(about.st_size)), scratch, {}, signals, console);
}

} // namespace

int makeUsbKey(const UsbChoices& choices, const Surroundings& surroundings) {
    requireRoot();
    requirePrograms({"unzip", "mount", "umount"});
    const ScratchDirectory scratch(choices.work, surroundings);
    const Inputs inputs(choices.job, Medium::key);
    inputs.requireRoom(scratch.directory(), scratch.path(), 0);
    return choices.image.empty() ? fillDevice(choices, inputs, scratch) : fillImage(choices, inputs, scratch);
}

} // namespace velacreate
