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

/// The selected keys, as bytes.
class OpenKeys {
public:
    explicit OpenKeys(const std::vector<Key>& keys) {
        for (const auto& key : keys) {
            if (isSelected(key)) {
                const auto& disk = m_disks.emplace_back(openUncached(key.lock->descriptor()));
                media.push_back({key.disk.node(), {disk, key.about.size}});
            }
        }
    }

    std::vector<ComparedMedium> media;

private:
    std::list<Descriptor> m_disks;
};

/// @return what the keys without a difference are called; empty when there is none
std::string sameKeysText(const std::vector<Outcome>& outcomes) {
    const auto same = std::count_if(outcomes.begin(), outcomes.end(),
                                    [](const Outcome& outcome) { return outcome.status == 0; });
    return same == 0 ? "" : same == 1 ? kindOf(MediumKind::key).name : std::to_string(same) + " keys";
}

OpenMedium openKeyImage(const std::string& path) {
    auto medium = openToCompare("the key image", path, S_IFREG);
    refuseIf(isIsoImage(medium.file), quote(path) + " is an ISO image; compare it with --image");
    lockAlone(medium.file, medium.name);
    return medium;
}

ReadMedium bytesOfKeyImage(const OpenMedium& medium) {
    ReadMedium read = {medium.file, sizeOf(medium.file)};
    read.isKeyImage = true;
    return read;
}
} // namespace

int verifyKeys(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    const Inputs inputs(choices.job, MediumKind::key, scratch);
    const auto keys = keysToCompare(choices.devices);
    inputs.requireRoom(scratch, 1, 0);
    openLog(console, choices.job.show, "", &inputs);
    const HeldSignals signals;
    beginEvents(console, keys);
    if (countSelected(keys) == 0) {
        return conclude(console, keys, {}, JobKind::verifying);
    }
    inputs.announce(console, "Comparing " + mediaText(keys) + " with");
    const OpenKeys open(keys);
    const auto outcomes = compareMedia({choices.job, inputs, scratch, signals, console}, open.media);
    const int status = conclude(console, keys, outcomes, JobKind::verifying);
    if (const auto same = sameKeysText(outcomes); !same.empty()) {
        console.say(explanationText(same, inputs.contents));
    }
    return status;
}

int compareKeysWithLists(const std::vector<std::string>& devices, const ListCall& call) {
    const auto keys = keysToCompare(devices);
    openLog(call.console, call.show, "");
    const HeldSignals signals;
    beginEvents(call.console, keys);
    if (countSelected(keys) == 0) {
        return conclude(call.console, keys, {}, JobKind::checking);
    }
    call.console.say("Comparing " + mediaText(keys) + " with the list of sums on each");
    OpenKeys open(keys);
    for (auto& key : open.media) {
        key.medium.others = OtherFiles::tracesOfSystems;
    }
    const auto outcomes = compareWithLists(call, kindOf(MediumKind::key), open.media, signals);
    const int status = conclude(call.console, keys, outcomes, JobKind::checking);
    if (const auto same = sameKeysText(outcomes); !same.empty()) {
        call.console.say(meaningText(call, same, outcomes));
    }
    return status;
}

int compareKeyImageWithList(const std::string& keyImage, const ListCall& call) {
    const auto medium = openKeyImage(keyImage);
    return compareAloneWithList(call, kindOf(MediumKind::keyImage), medium, bytesOfKeyImage(medium));
}

int compareKeysWithImage(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console) {
    refuseIf<WrongCommandLine>(choices.job.files.size() != 1,
                               "a key is compared with one image, or with a --package and update files");
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
    const auto medium = openKeyImage(choices.keyImage);
    const Inputs inputs(choices.job, MediumKind::key, scratch);
    return compareAlone(choices.job, inputs, scratch, medium, bytesOfKeyImage(medium), console);
}

} // namespace velacreate
