#include "keys/keys.h"

#include "disks/cloning.h"
#include "disks/fatVolume.h"
#include "disks/guard.h"
#include "disks/stacks.h"
#include "forms/keyRecord.h"
#include "inputs/limits.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <utility>

namespace velacreate {

using VelaCreation::KEY_IMAGE_OFFSET;

namespace {
void refuseFor(const Disk& disk, const std::string& reason) {
    refuseIf(!reason.empty(), disk.node() + " " + reason);
}

/// The advice comes last, and only when --any-disk would help.
std::string reasonAgainst(const Disk& disk, bool anyDisk) {
    const auto reason = ineligibilityReason(disk, anyDisk);
    const bool isOnlyFixed = !reason.empty() && ineligibilityReason(disk, true).empty();
    return reason + (isOnlyFixed ? ". If this is really the disk you mean, add --any-disk" : "");
}

/// An upper limit: a new file system takes an unknown part for itself.
std::uint64_t capacityOf(const Disk& disk, const std::string& format) {
    if (format != FORMAT_NEVER) {
        return partitionSize(disk, KEY_PARTITION);
    }
    const auto partition = disk.openKeyPartition();
    check(partition.isOpen()).orRefuse(disk.keyPartitionNode());
    return fatCapacity(partition, 0);
}

void requireErasable(const Key& key, const Inputs& inputs) {
    const auto image = cloneImageFor(key.about.size);
    inputs.package.requireFile(image, "a new key of this size is made from it");
    requireFittable(inputs.package, image);
    refuseFor(key.disk, eraseIneligibilityReason(key.disk, image, inputs.package.entries().at(image).size));
    requireFitting(inputs.contents, key.about.size - KEY_IMAGE_OFFSET, key.disk.node());
}

/// A machine would start from another boot record, or find something else than FAT.
void requireNoObstacles(const Key& key, const Inputs& inputs) {
    const auto obstacles = obstaclesOn({key.lock->descriptor(), key.about.size}, inputs.package);
    const auto refuse = [&](const char* what, const Differences& differences) {
        if (differences.count() != 0) {
            refuseFor(key.disk,
                      what + (": " + differences.lines().front()) + "; --erase makes a key of any stick");
        }
    };
    refuse("has another boot record than a key", obstacles.bootRecord);
    refuse("carries what formatting would not remove", obstacles.leftovers);
}

void requireFillable(const Key& key, const UsbChoices& choices, const Inputs& inputs) {
    refuseFor(key.disk, lacksPartition(key.disk));
    if (choices.format == FORMAT_AUTO || choices.job.verify) {
        inputs.package.requireFile(cloneImageFor(key.about.size), "a key of this size is recognised by it");
        requireNoObstacles(key, inputs);
    }
    requireFitting(inputs.contents, capacityOf(key.disk, choices.format),
                   "partition " + std::to_string(KEY_PARTITION) + " of " + key.disk.node());
}

/// Something that the job needs while it makes keys, and the disks that carry it.
struct Needed {
    std::string text; ///< for messages
    std::set<std::string> disks;
};

std::vector<Needed> neededBy(const UsbChoices& choices, const NamedDirectory& scratch) {
    const std::filesystem::path directory = choices.job.directory;
    std::vector<std::string> updates = {futurePath(directory)};
    for (const auto& file : choices.job.files) {
        updates.push_back(futurePath(directory / file));
    }
    std::vector<Needed> all = {{"the update files", disksBelow(updates)}};
    for (const auto& [kind, path] : {std::pair("the tool package", choices.job.package),
                                     {"the parent of the job directory", scratch.path},
                                     {"the log file", choices.job.show.log},
                                     {"the report", choices.report}}) {
        if (!path.empty()) {
            all.push_back({std::string(kind) + " " + quote(path), disksBelow({futurePath(path)})});
        }
    }
    return all;
}

/// It would be lost, or keep the disk busy.
void requireUnneeded(const Disk& disk, const std::vector<Needed>& needed) {
    for (const auto& [text, disks] : needed) {
        if (disks.count(disk.name) != 0) {
            refuseFor(disk, "carries " + text + ", which must lie on another disk");
        }
    }
}

Key examined(const Disk& disk, const UsbChoices& choices, const Inputs& inputs,
             const std::vector<Needed>& needed) {
    Key key{disk, describe(disk), std::nullopt, "", false};
    try {
        refuseFor(disk, reasonAgainst(disk, choices.anyDisk));
        requireUnneeded(disk, needed);
        key.isForKeys = true;
        key.lock.emplace(disk);
        if (choices.erase) {
            requireErasable(key, inputs);
        } else {
            requireFillable(key, choices, inputs);
        }
    } catch (const Refusal& refusal) {
        leaveOut(key, refusal);
    }
    return key;
}

std::vector<Disk> removableMedia() {
    auto disks = removableDisks();
    disks.erase(
        std::remove_if(disks.begin(), disks.end(), [](const Disk& disk) { return !isRemovableMedium(disk); }),
        disks.end());
    refuseIf(disks.empty(), "there is no removable medium; a USB hard disk has to be named");
    return disks;
}

void leaveOutForeign(ChosenKeys& chosen, Console& console) {
    std::vector<Key> examined;
    std::swap(examined, chosen.keys);
    for (auto& key : examined) {
        if (!key.isForKeys) {
            console.say("Left out: " + key.ineligibility);
        }
        (key.isForKeys ? chosen.keys : chosen.leftOut).push_back(std::move(key));
    }
    refuseIf(chosen.keys.empty(), "there is no removable medium for a key; a USB hard disk has to be named");
}
} // namespace

std::vector<Disk> namedDisks(const std::vector<std::string>& paths) {
    std::vector<Disk> disks;
    for (const auto& path : paths) {
        const auto disk = wholeDisk(path);
        if (std::any_of(disks.begin(), disks.end(),
                        [&](const Disk& other) { return other.number == disk.number; })) {
            throw Refusal(disk.node() + " is named twice");
        }
        disks.push_back(disk);
    }
    return disks;
}

void leaveOut(Key& key, const Refusal& refusal) {
    key.ineligibility = refusal.what();
    key.lock.reset();
}

Table tableOfKeys(std::vector<std::string> columns) {
    columns.insert(columns.begin(), {"Port", "Key", SERIAL_NUMBER});
    return Table(columns);
}

std::vector<std::string> cellsOf(const Key& key, std::vector<std::string> cells) {
    cells.insert(cells.begin(), {key.about.port, key.disk.node(), key.about.serial});
    return cells;
}

std::size_t countSelected(const std::vector<Key>& keys) {
    return static_cast<std::size_t>(std::count_if(keys.begin(), keys.end(), isSelected));
}

std::string mediaText(const std::vector<Key>& keys) {
    return keys.size() == 1 ? "the key " + keys.front().disk.node() : counted(countSelected(keys), "key");
}

void requireSelectedIfAlone(const std::vector<Key>& keys) {
    if (keys.size() == 1 && !isSelected(keys.front())) {
        throw Refusal(keys.front().ineligibility);
    }
}

ChosenKeys chooseKeys(const UsbChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                      Console& console) {
    const auto needed = neededBy(choices, scratch);
    ChosenKeys chosen;
    for (const auto& disk : choices.all ? removableMedia() : namedDisks(choices.devices)) {
        chosen.keys.push_back(examined(disk, choices, inputs, needed));
    }
    if (choices.all) {
        leaveOutForeign(chosen, console);
    }
    requireSelectedIfAlone(chosen.keys);
    return chosen;
}

void unmountKeys(std::vector<Key>& keys) {
    for (auto& key : keys) {
        try {
            if (isSelected(key)) {
                key.lock->unmount();
            }
        } catch (const Refusal& refusal) {
            leaveOut(key, refusal);
        }
    }
    requireSelectedIfAlone(keys);
}

void requireFittable(const ToolPackage& package, const std::string& cloneImage) {
    refuseIf(!canBeFitted(package.beginningOf(cloneImage)),
             "the clone image " + quote(cloneImage) + " of the package has no fourth partition");
}

void requireFitting(const Contents& contents, std::uint64_t capacity, const std::string& medium) {
    std::uint64_t size = 0;
    requireFileSizes(contents, kindOf(MediumKind::key));
    for (const auto& [place, part] : contents.tree) {
        size += (part.size + SECTOR - 1) / SECTOR * SECTOR;
    }
    refuseIf(capacity == 0, medium + " holds no FAT file system");
    refuseIf(size > capacity,
             "the files take " + sizeText(size) + ", and " + medium + " holds " + sizeText(capacity));
}

std::string cloneImageFor(std::uint64_t size) {
    return VelaCreation::cloneImageFor(static_cast<std::int64_t>(size / SECTOR));
}

} // namespace velacreate
