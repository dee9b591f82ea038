#include "keys/verifyKeys.h"

#include "disks/fatVolume.h"
#include "keys/keyResults.h"
#include "keys/keyTarget.h"
#include "keys/keys.h"
#include "medium/comparison.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <sys/statvfs.h>

namespace velacreate {

using VelaCreation::KEY_IMAGE_OFFSET;

namespace {
/// What is written meanwhile would not be noticed, and the key could not be mounted read-only.
void requireNotWritten(const Disk& disk) {
    for (const auto& [place, device] : mountedPlaces(disk)) {
        struct statvfs about {};
        const bool isReadOnly = statvfs(place.c_str(), &about) == 0 && (about.f_flag & ST_RDONLY) != 0;
        refuseIf(device == partitionNumber(disk, KEY_PARTITION) && !isReadOnly,
                 disk.node() + " is mounted on " + quote(place) + "; unmount it first");
    }
}

void requireKey(const Disk& disk) {
    refuseIf(partitionNumber(disk, KEY_PARTITION) == 0,
             disk.node() + " is no key: it has no fourth partition");
    const auto partition = disk.openKeyPartition();
    check(partition.isOpen()).orRefuse(disk.keyPartitionNode());
    refuseIf(!holdsFat(partition, 0), "partition 4 of " + disk.node() + " holds no FAT file system");
}

Key examined(const Disk& disk) {
    Key key{disk, describe(disk), std::nullopt, "", true};
    try {
        key.lock.emplace(disk);
        requireKey(disk);
        requireNotWritten(disk);
    } catch (const Refusal& refusal) {
        leaveOut(key, refusal);
    }
    return key;
}

/// In the job's process.
std::vector<std::string> compareKey(const KeyTarget& target, const Inputs& inputs, const Descriptor& staged,
                                    Reporter& reporter) {
    const auto image = openImageAgain(target);
    enterJobDirectory();
    if (image.isOpen()) {
        placeImage(target, image);
    }
    const auto advance = beginReadingBack(inputs.contents.size(), reporter);
    const auto mount = mountToRead(target);
    return inputs.kind.compare(staged.number(), inputs.contents, mount.open(), advance);
}

int conclude(Console& console, const std::vector<Key>& keys, const std::vector<Outcome>& ofSelected) {
    std::vector<KeyResult> results;
    for (const auto& outcome : outcomesOfAll(keys, ofSelected, JobKind::verifying)) {
        results.push_back({outcome, ""});
    }
    return concludeKeys(console, keys, results, false);
}
} // namespace

int verifyKeys(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    const Inputs inputs(choices.job, MediumKind::key);
    std::vector<Key> keys;
    for (const auto& disk : namedDisks(choices.devices)) {
        keys.push_back(examined(disk));
    }
    requireSelectedIfAlone(keys);
    inputs.requireRoom(scratch, 1, 0);
    openLog(console, choices.job.show, "", &inputs);
    if (countSelected(keys) == 0) {
        return conclude(console, keys, {});
    }
    const HeldSignals signals;
    inputs.announce(console, "Comparing " + mediaText(keys) + " with");
    std::vector<ComparedMedium> media;
    for (const auto& key : keys) {
        if (isSelected(key)) {
            media.push_back(
                {key.disk.node(), [&](const Descriptor& staged, Reporter& reporter) {
                     return compareKey({key.lock->descriptor(), key.disk, ""}, inputs, staged, reporter);
                 }});
        }
    }
    return conclude(console, keys, compareMedia({choices.job, inputs, scratch, signals, console}, media));
}

int verifyKeyImage(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    const auto medium = openToCompare("the key image", choices.keyImage, S_IFREG);
    refuseIf(!holdsFat(medium.file, KEY_IMAGE_OFFSET),
             medium.name + " holds no FAT file system at byte " + std::to_string(KEY_IMAGE_OFFSET));
    lockKeyImage(medium.file, medium.name);
    const Inputs inputs(choices.job, MediumKind::key);
    const auto compare = [&](const Descriptor& staged, Reporter& reporter) {
        return compareKey({medium.file, std::nullopt, medium.path}, inputs, staged, reporter);
    };
    return compareAlone(choices.job, inputs, scratch, medium, compare, console);
}

} // namespace velacreate
