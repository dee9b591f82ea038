#include "keys/verifyKeys.h"

#include "job/supervisor.h"
#include "keys/keyImage.h"
#include "keys/keyResults.h"
#include "keys/keyTarget.h"
#include "keys/keys.h"
#include "keys/writeKey.h"
#include "medium/comparison.h"
#include "medium/imageKinds.h"
#include "support/failure.h"

#include <algorithm>
#include <list>

#include <sys/statvfs.h>

namespace velacreate {

namespace {
/// What is written meanwhile would not be noticed.
void requireNotWritten(const Disk& disk) {
    for (const auto& [place, device] : mountedPlaces(disk)) {
        struct statvfs about {};
        const bool isReadOnly = statvfs(place.c_str(), &about) == 0 && (about.f_flag & ST_RDONLY) != 0;
        const bool isCompared = device == disk.number || device == partitionNumber(disk, KEY_PARTITION);
        refuseIf(isCompared && !isReadOnly,
                 disk.node() + " is mounted on " + quote(place) + "; unmount it first");
    }
}

Key examined(const Disk& disk) {
    Key key{disk, describe(disk), std::nullopt, "", true};
    try {
        key.lock.emplace(disk);
        requireNotWritten(disk);
    } catch (const Refusal& refusal) {
        leaveOut(key, refusal);
    }
    return key;
}

std::vector<Key> keysToCompare(const std::vector<std::string>& devices) {
    std::vector<Key> keys;
    for (const auto& disk : namedDisks(devices)) {
        keys.push_back(examined(disk));
    }
    requireSelectedIfAlone(keys);
    return keys;
}

int conclude(Console& console, const std::vector<Key>& keys, const std::vector<Outcome>& ofSelected,
             JobKind kind) {
    std::vector<KeyResult> results;
    for (const auto& outcome : outcomesOfAll(keys, ofSelected, kind)) {
        results.push_back({outcome, ""});
    }
    return concludeKeys(console, keys, results, false);
}
} // namespace

int verifyKeys(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    const Inputs inputs(choices.job, MediumKind::key);
    const auto keys = keysToCompare(choices.devices);
    inputs.requireRoom(scratch, 1, 0);
    openLog(console, choices.job.show, "", &inputs);
    const HeldSignals signals;
    beginEvents(console, keys);
    if (countSelected(keys) == 0) {
        return conclude(console, keys, {}, JobKind::verifying);
    }
    inputs.announce(console, "Comparing " + mediaText(keys) + " with");
    std::list<Descriptor> disks;
    std::vector<ComparedMedium> media;
    for (const auto& key : keys) {
        if (isSelected(key)) {
            const auto& disk = disks.emplace_back(openUncached(key.lock->descriptor()));
            media.push_back({key.disk.node(), {disk, key.about.size}});
        }
    }
    const auto outcomes = compareMedia({choices.job, inputs, scratch, signals, console}, media);
    const int status = conclude(console, keys, outcomes, JobKind::verifying);
    const auto isSame = [](const Outcome& outcome) { return outcome.status == 0; };
    if (const auto same = std::count_if(outcomes.begin(), outcomes.end(), isSame); same != 0) {
        console.say(
            explanationText(same == 1 ? inputs.kind.name : std::to_string(same) + " keys", inputs.contents));
    }
    return status;
}

int compareKeysWithImage(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    if (choices.job.files.size() != 1) {
        throw WrongCommandLine("a key is compared with one image, or with a --package and update files");
    }
    KeyImage image(choices.job.files.front());
    const auto keys = keysToCompare(choices.devices);
    image.requireOthers(choices.job.show);
    openLog(console, choices.job.show, image.path());
    const HeldSignals signals;
    beginEvents(console, keys);
    if (countSelected(keys) == 0) {
        return conclude(console, keys, {}, JobKind::comparingKey);
    }
    const JobDirectory jobDirectory(scratch);
    const auto examination = image.examine(false, jobDirectory, signals, console);
    if (examination.status != 0) {
        return conclude(console, examination, image.name(), "");
    }
    console.say("Comparing " + mediaText(keys) + " with " + image.name());
    std::vector<MediumJob> jobs;
    for (const auto& key : keys) {
        if (isSelected(key)) {
            const auto work = [&](Reporter& reporter) {
                return compareWithKeyImage(image, key.lock->descriptor(), JobKind::comparingKey, reporter);
            };
            const auto node = key.disk.node();
            jobs.push_back({node,
                            jobDirectory.directory().number(),
                            work,
                            {},
                            endsEvents(node, console),
                            JobKind::comparingKey});
        }
    }
    return conclude(console, keys, supervise(jobs, jobs.size(), signals, console), JobKind::comparingKey);
}

int verifyKeyImage(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    const auto medium = openToCompare("the key image", choices.keyImage, S_IFREG);
    refuseIf(isIsoImage(medium.file), quote(choices.keyImage) + " is an ISO image; compare it with --image");
    lockAlone(medium.file, medium.name);
    const Inputs inputs(choices.job, MediumKind::key);
    ReadMedium read = {medium.file, sizeOf(medium.file)};
    read.isKeyImage = true;
    return compareAlone(choices.job, inputs, scratch, medium, read, console);
}

} // namespace velacreate
