#include "commands/verifyKeys.h"

#include "commands/comparison.h"
#include "commands/keyResults.h"
#include "commands/keyTarget.h"
#include "commands/keys.h"
#include "disks/fatVolume.h"
#include "medium/readBack.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/sizeText.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/statvfs.h>

namespace velacreate {

namespace {

/// What is written to it meanwhile would not be seen, and it cannot be mounted to be read only.
void requireNotWritten(const Disk& disk) {
    for (const auto& [place, device] : mountedPlaces(disk)) {
        struct statvfs about {};
        const bool isReadOnly = statvfs(place.c_str(), &about) == 0 && (about.f_flag & ST_RDONLY) != 0;
        if (device == partitionNumber(disk, KEY_PARTITION) && !isReadOnly) {
            throw Refusal(disk.node() + " is mounted on " + quote(place) + "; unmount it first");
        }
    }
}

void requireKey(const Disk& disk) {
    if (partitionNumber(disk, KEY_PARTITION) == 0) {
        throw Refusal(disk.node() + " is no key: it has no fourth partition");
    }
    const Descriptor partition(open(disk.keyPartitionNode().c_str(), O_RDONLY | O_CLOEXEC));
    if (!partition.isOpen()) {
        throw Refusal(SystemError().about(disk.keyPartitionNode()));
    }
    if (!holdsFat(partition, 0)) {
        throw Refusal("partition 4 of " + disk.node() + " holds no FAT file system");
    }
}

Key examined(const Disk& disk) {
    Key key{disk, describe(disk), std::nullopt, "", true};
    try {
        key.lock.emplace(disk);
        requireKey(disk);
        requireNotWritten(disk);
    } catch (const Refusal& refusal) {
        key.ineligibility = refusal.what();
        key.lock.reset();
    }
    return key;
}

/// In the job's process.
std::vector<std::string> compareKey(const KeyTarget& target, const Contents& contents,
                                    const Descriptor& staged, Reporter& reporter) {
    if (!hasOwnMounts()) {
        throw Refusal("a key needs mounts of its own, and this machine does not grant them");
    }
    const auto image = target.disk ? Descriptor() : openAgain(target.open, target.imagePath);
    enterJobDirectory();
    if (image.isOpen()) {
        placeImage(target, image);
    }
    const auto advance = beginReadingBack(contents.size(), reporter);
    const auto mount = mountToRead(target);
    return compareDirectory(staged.number(), contents.tree, mount.open(), contents.added, advance);
}

/// Of those that were compared, in order.
std::vector<KeyResult> resultsOf(const std::vector<Key>& keys, const std::vector<Outcome>& ofTaken) {
    std::vector<KeyResult> results;
    auto next = ofTaken.begin();
    for (const auto& key : keys) {
        auto outcome = isSelected(key) ? *next++ : Outcome{EXIT_REFUSED, key.ineligibility, {}, false, 0};
        outcome.kind = JobKind::verifying;
        results.push_back({outcome, ""});
    }
    return results;
}

} // namespace

int verifyKeys(const VerifyChoices& choices, const ScratchDirectory& scratch) {
    const Inputs inputs(choices.job, Medium::key);
    std::vector<Key> keys;
    for (const auto& disk : namedDisks(choices.devices)) {
        keys.push_back(examined(disk));
    }
    requireTakenIfAlone(keys);
    inputs.requireRoom(scratch.directory(), scratch.path(), 1, 0);
    auto console = openConsole(choices.job.show, "", &inputs);
    if (countTaken(keys) == 0) {
        return concludeKeys(console, keys, resultsOf(keys, {}), false);
    }
    const HeldSignals signals;
    inputs.announce(console, "Comparing " + mediaText(keys) + " with");
    std::vector<ComparedMedium> media;
    for (const auto& key : keys) {
        if (isSelected(key)) {
            media.push_back({key.disk.node(), [&](const Descriptor& staged, Reporter& reporter) {
                                 return compareKey({key.lock->descriptor(), key.disk, ""}, inputs.contents,
                                                   staged, reporter);
                             }});
        }
    }
    const auto outcomes = compareMedia({choices.job, inputs, scratch, signals, console}, media);
    return concludeKeys(console, keys, resultsOf(keys, outcomes), false);
}

int verifyKeyImage(const VerifyChoices& choices, const ScratchDirectory& scratch) {
    const auto medium = openToCompare("the key image", choices.keyImage, S_IFREG);
    if (!holdsFat(medium.file, IMAGE_OFFSET)) {
        throw Refusal(medium.name + " holds no FAT file system at byte " + std::to_string(IMAGE_OFFSET));
    }
    if (flock(medium.file.number(), LOCK_EX | LOCK_NB) != 0) {
        throw Refusal("another program is working on " + medium.name);
    }
    const Inputs inputs(choices.job, Medium::key);
    return compareAlone(
        choices.job, inputs, scratch, medium, [&](const Descriptor& staged, Reporter& reporter) {
            return compareKey({medium.file, std::nullopt, medium.path}, inputs.contents, staged, reporter);
        });
}

} // namespace velacreate
