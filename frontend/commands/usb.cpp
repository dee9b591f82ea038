#include "commands/commands.h"

#include "disks/fatVolume.h"
#include "forms/blockMap.h"
#include "forms/keyRecord.h"
#include "inputs/sourceDate.h"
#include "keys/consent.h"
#include "keys/keyJobs.h"
#include "keys/keyResults.h"
#include "keys/keysToFill.h"
#include "keys/newKeyImage.h"
#include "medium/imageChecksum.h"
#include "medium/imageKinds.h"
#include "medium/outputJob.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"

#include <algorithm>

#include <fcntl.h>

namespace velacreate {

namespace {
void validateOptions(const UsbChoices& choices) {
    refuseIf(choices.erase && choices.format == FORMAT_NEVER,
             "what is erased is formatted; leave out --format never");
    refuseIf(choices.job.show.pauses && (choices.keys.all || choices.keys.devices.size() > 1),
             "the status file does not tell of several keys; leave out --pauses");
    refuseIf(choices.job.manifest.isWanted() && (choices.format == FORMAT_NEVER || !choices.keyImage.empty()),
             "what is not formatted may keep files that no list names; leave out --manifest and --sign");
    if (choices.keyImage.empty() && choices.output.empty()) {
        return;
    }
    refuseIf(choices.erase || choices.format == FORMAT_ALWAYS,
             std::string("an image is not formatted; leave out ") +
                 (choices.erase ? "--erase" : "--format always"));
    const auto refuseOption = [](bool isGiven, const std::string& option) {
        refuseIf(isGiven, "an image is no key; leave out " + option);
    };
    refuseOption(choices.keys.eject, "--eject");
    refuseOption(!choices.keys.report.empty(), "--report");
    refuseOption(choices.keys.jobs != 0, "--jobs");
    refuseOption(choices.keys.anyDisk, "--any-disk");
}

void requireProgramsFor(const UsbChoices& choices) {
    requirePrograms(kindOf(MediumKind::key).programs);
    if (choices.keyImage.empty() && choices.format != FORMAT_NEVER) {
        requirePrograms({"mkfs", "mkfs.vfat", "sfdisk"});
    }
}

/// The kernel's count includes the flushing, which would otherwise look like a standstill.
std::map<std::string, Gauge> gaugesOf(const DiskLock& lock, std::uint64_t expected) {
    const Gauge written{expected, [&lock](pid_t /*job*/) { return lock.traffic().written * SECTOR; }};
    std::map<std::string, Gauge> gauges;
    for (const auto& stage : kindOf(MediumKind::key).stages) {
        gauges[stage.text] = written;
    }
    return gauges;
}

std::vector<KeyTask> tasksFor(const std::vector<Key>& keys, std::uint64_t expected, KeyResults& results) {
    std::vector<KeyTask> tasks;
    for (std::size_t index = 0; index < keys.size(); ++index) {
        const auto& key = keys[index];
        if (isSelected(key)) {
            const KeyTarget target{key.lock->descriptor(), key.disk};
            tasks.push_back({key.disk.node(), target, gaugesOf(*key.lock, expected),
                             [&results, index](const Outcome& outcome) { results.settle(index, outcome); }});
        }
    }
    return tasks;
}

/// How many job directories hold the files at a time.
std::size_t countFull(const UsbChoices& choices, std::size_t keys) {
    return choices.keys.jobs == 0 || choices.job.keep ? keys : std::min(choices.keys.jobs, keys);
}

std::string lossByFilling(const UsbChoices& choices, const std::vector<Key>& keys) {
    if (choices.erase) {
        return lossByErasing(keys);
    }
    const std::string done = choices.format == FORMAT_ALWAYS ? "formatted and filled."
                             : choices.format == FORMAT_AUTO ? "formatted if need be, and filled."
                                                             : "filled.";
    return (keys.size() == 1 ? "Its fourth partition will be " : "Their fourth partitions will be ") + done;
}

int fillKeys(const UsbChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
             Console& console) {
    auto chosen = chooseKeysToFill(choices, inputs, scratch, console);
    auto& keys = chosen.keys;
    inputs.requireRoom(scratch, 1 + countFull(choices, countSelected(keys)), 0);
    if (!choices.keys.report.empty()) {
        inputs.requireOther(choices.keys.report, "the report " + quote(choices.keys.report));
    }
    auto report = checkedReport(choices.keys.report, choices.job.show.log);
    openLog(console, choices.job.show, "", &inputs);
    KeyResults results(chosen, choices.keys.eject, choices.job.verify, report, console);
    if (countSelected(keys) == 0) {
        return results.conclude({});
    }
    const HeldSignals signals;
    if (const int status =
            askForConsent(keys, lossByFilling(choices, keys), choices.keys.yes, signals, console);
        status != 0) {
        console.complain("interrupted; nothing was changed");
        return status;
    }
    Signer signer;
    if (const int status = openSigner(signer, choices.job.manifest, inputs, signals, console); status != 0) {
        console.complain("interrupted; nothing was changed");
        return status;
    }
    unmountKeys(keys);

    inputs.announce(console, "Making " + mediaText(keys) + " from");
    const Call call{choices.job, inputs, scratch, signals, console};
    return results.conclude(runKeyJobs({call, choices, keys.size() == 1},
                                       tasksFor(keys, inputs.contents.size(), results), signer,
                                       choices.keys.report.empty() ? nullptr : &results.sums));
}

int fillImage(const UsbChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
              Console& console) {
    const auto path = absolutePath(choices.keyImage);
    const auto image = openChosen(path, O_RDWR, S_IFREG);
    const auto about = image.status();
    inputs.requireOther(about, "the image " + quote(path));
    refuseIf(isIsoImage(image),
             quote(path) + " is an ISO image, and no image of a key; burn writes it to a disc");
    const auto fileSystem = fileSystemIn(image);
    requireFitting(inputs.contents, fatCapacity(image, fileSystem.offset),
                   quote(path) + ", at byte " + std::to_string(fileSystem.offset) + ",");
    lockAlone(image, quote(path));
    inputs.requireRoom(scratch, 2, 0); // packed and unpacked
    openLog(console, choices.job.show, path, &inputs);
    const HeldSignals signals;
    const auto medium = "the key image " + quote(path);
    inputs.announce(console, "Making " + medium + " from");
    UsbChoices asItIs = choices;
    asItIs.format = FORMAT_NEVER;
    const Call call{choices.job, inputs, scratch, signals, console};
    const auto outcome = runKeyJobs({call, asItIs, true},
                                    {{medium, {image, std::nullopt, fileSystem}, {}, nullptr}}, {}, nullptr)
                             .front();
    return conclude(console, outcome, medium,
                    sizeText(static_cast<std::uint64_t>(about.st_size)) + readBackText(choices.job.verify));
}

int makeImage(const UsbChoices& choices, Console& console) {
    requireSourceDate();
    requirePrograms(kindOf(MediumKind::keyImage).programs);
    const auto output = Output::keyImage(choices.output, choices.force);
    const auto blockMap = Output::blockMap(choices.output + BLOCK_MAP_ENDING, choices.force);
    std::optional<Output> checksum;
    if (choices.checksum) {
        checksum = Output::checksum(choices.output + CHECKSUM_ENDING, choices.force);
    }
    const Inputs inputs(choices.job, MediumKind::keyImage, output.parent());
    inputs.requireOther(output);
    inputs.requireOther(blockMap);
    if (checksum) {
        inputs.requireOther(*checksum);
    }
    const auto size = chooseKeySize(choices.capacity, inputs);
    inputs.requireRoom(output.parent(), 1, 1);
    const auto workflow = [&, time = timeOfFiles()](const Descriptor& jobDirectory, const Sums& sums,
                                                    Reporter& reporter) {
        makeKeyImage(size, inputs, time, sums, jobDirectory, reporter);
        return 0;
    };
    return makeOutput({choices.job, inputs, output, &blockMap, checksum ? &*checksum : nullptr,
                       checksum ? "" : output.path() + CHECKSUM_ENDING, PackageForm::unpacked, workflow},
                      console);
}
} // namespace

int makeUsbKey(const UsbChoices& choices, const CallerEnvironment& caller, Console& console) {
    validateOptions(choices);
    if (!choices.output.empty()) {
        return makeImage(choices, console);
    }
    requireRoot("a key is mounted and formatted, which");
    requireProgramsFor(choices);
    const auto scratch = scratchDirectory(choices.work, caller);
    const Inputs inputs(choices.job, MediumKind::key, scratch);
    return choices.keyImage.empty() ? fillKeys(choices, inputs, scratch, console)
                                    : fillImage(choices, inputs, scratch, console);
}

} // namespace velacreate
