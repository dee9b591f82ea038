#include "commands/commands.h"

#include "commands/consent.h"
#include "commands/keyJobs.h"
#include "commands/keyResults.h"
#include "commands/keys.h"
#include "commands/scratch.h"
#include "disks/fatVolume.h"
#include "support/exitStatus.h"
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

void requireSense(const UsbChoices& choices) {
    if (choices.erase && choices.format == "never") {
        throw Refusal("what is erased is formatted; leave out --format never");
    }
    if (choices.image.empty()) {
        return;
    }
    if (choices.erase || choices.format == "always") {
        throw Refusal(std::string("an image is not formatted; leave out ") +
                      (choices.erase ? "--erase" : "--format always"));
    }
    if (choices.eject || !choices.report.empty()) {
        throw Refusal(std::string("an image is no key; leave out ") +
                      (choices.eject ? "--eject" : "--report"));
    }
}

void requireProgramsFor(const UsbChoices& choices) {
    requirePrograms({"unzip", "mount", "umount"});
    if (choices.image.empty() && choices.format != "never") {
        requirePrograms({"mkfs", "mkfs.vfat", "sfdisk"});
    }
}

/// By the kernel's own count, which also shows the flushing that would otherwise look like a standstill.
std::map<std::string, Gauge> gaugesOf(const KeyHold& hold, std::uint64_t expected) {
    const auto before = hold.traffic().written;
    const Gauge written{expected, [&hold, before] { // 0 once it is pulled
                            return (std::max(hold.traffic().written, before) - before) * SECTOR;
                        }};
    return {{"Copying files to working directory", written},
            {"Copying files to USB key", written},
            {"Writing out", written}};
}

std::vector<KeyTask> tasksFor(const std::vector<Key>& keys, std::uint64_t expected) {
    std::vector<KeyTask> tasks;
    for (const auto& key : keys) {
        if (isTaken(key)) {
            tasks.push_back(
                {key.disk.node(), {key.hold->descriptor(), key.disk, ""}, gaugesOf(*key.hold, expected)});
        }
    }
    return tasks;
}

/// In the order of the keys, those that were not begun included.
std::vector<Outcome> outcomesOf(const std::vector<Key>& keys, const std::vector<Outcome>& ofTaken) {
    std::vector<Outcome> outcomes;
    auto next = ofTaken.begin();
    for (const auto& key : keys) {
        outcomes.push_back(isTaken(key) ? *next++ : Outcome{EXIT_REFUSED, key.objection, {}, false, 0});
    }
    return outcomes;
}

std::string mediaText(const std::vector<Key>& keys) {
    const auto count = std::count_if(keys.begin(), keys.end(), isTaken);
    const auto first = std::find_if(keys.begin(), keys.end(), isTaken);
    return count == 1 ? "the key " + first->disk.node() : std::to_string(count) + " keys";
}

/// As with the log file, what is checked last is what is made.
Report openReport(const std::string& path, const std::string& log, const Inputs& inputs) {
    struct stat about {};
    struct stat logs {};
    if (!path.empty() && stat(path.c_str(), &about) == 0) {
        inputs.requireOther(about, "the report " + shown(path));
        if (!log.empty() && stat(log.c_str(), &logs) == 0 && isSameFile(about, logs)) {
            throw Refusal("the report " + shown(path) + " is the log file");
        }
    }
    return Report(path);
}

int fillKeys(const UsbChoices& choices, const Inputs& inputs, const ScratchDirectory& scratch) {
    auto keys = chooseKeys(choices, inputs);
    inputs.requireRoom(scratch.directory(), scratch.path(),
                       choices.jobs != 0 ? std::min(choices.jobs, keys.size()) : keys.size(), 0);
    auto console = openConsole(choices.job.show, "", &inputs);
    auto report = openReport(choices.report, choices.job.show.log, inputs);
    const HeldSignals signals;
    if (const int status = askForConsent(keys, choices, signals); status != 0) {
        console.complain("interrupted; nothing was changed");
        return status;
    }
    unmountKeys(keys);

    inputs.announce(console, mediaText(keys));
    UpdateSums sums;
    const auto outcomes = outcomesOf(keys, runKeyJobs({choices, inputs, scratch, signals, console},
                                                      tasksFor(keys, inputs.contents.size()),
                                                      choices.report.empty() ? nullptr : &sums));
    return concludeKeys(keys, outcomes, choices, sums, report, console);
}

int fillImage(const UsbChoices& choices, const Inputs& inputs, const ScratchDirectory& scratch) {
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
    inputs.requireRoom(scratch.directory(), scratch.path(), 1, 0);
    auto console = openConsole(choices.job.show, path, &inputs);
    const HeldSignals signals;
    const auto medium = "the key image " + shown(path);
    inputs.announce(console, medium);
    UsbChoices asItIs = choices;
    asItIs.format = "never";
    const auto outcome = runKeyJobs({asItIs, inputs, scratch, signals, console},
                                    {{medium, {image, std::nullopt, path}, {}}}, nullptr)
                             .front();
    return conclude(console, outcome, medium,
                    sizeText(static_cast<std::uint64_t>(about.st_size)) + readBackText(choices.job.verify));
}

} // namespace

int makeUsbKey(const UsbChoices& choices, const Surroundings& surroundings) {
    requireRoot();
    requireSense(choices);
    requireProgramsFor(choices);
    const ScratchDirectory scratch(choices.work, surroundings);
    const Inputs inputs(choices.job, Medium::key);
    return choices.image.empty() ? fillKeys(choices, inputs, scratch) : fillImage(choices, inputs, scratch);
}

} // namespace velacreate
