#include "keys/keysToFill.h"

#include "disks/cloning.h"
#include "disks/fatVolume.h"
#include "disks/guard.h"
#include "forms/keyRecord.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <filesystem>

namespace velacreate {

using VelaCreation::KEY_IMAGE_OFFSET;

namespace {
/// An upper limit: a new file system takes an unknown part for itself.
std::uint64_t capacityOf(const Disk& disk, const std::string& format) {
    if (format != FORMAT_NEVER) {
        return partitionSize(disk, KEY_PARTITION);
    }
    const auto partition = disk.openKeyPartition();
    check(partition.isOpen()).orRefuse(disk.keyPartitionNode());
    return fatCapacity(partition, 0);
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

} // namespace

std::vector<NeededFiles> neededBy(const UsbChoices& choices, const NamedDirectory& scratch) {
    auto needed = neededFiles(
        {{"the tool package", choices.job.package}, {"the parent of the job directory", scratch.path}},
        choices.job.show);
    const std::filesystem::path directory = choices.job.directory;
    std::vector<std::string> updates = {futurePath(directory)};
    for (const auto& file : choices.job.files) {
        updates.push_back(futurePath(directory / file));
    }
    needed.insert(needed.begin(), {"the update files", updates});
    return needed;
}

ChosenKeys chooseKeysToFill(const UsbChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                            Console& console) {
    const auto requireUsable = [&](const Key& key) {
        if (choices.erase) {
            requireErasable(key, inputs);
        } else {
            requireFillable(key, choices, inputs);
        }
    };
    return chooseKeys(choices.keys, neededBy(choices, scratch), requireUsable, console);
}

void requireErasable(const Key& key, const Inputs& inputs) {
    const auto image = cloneImageFor(key.about.size);
    inputs.package.requireFile(image, "a new key of this size is made from it");
    requireFittable(inputs.package, image);
    refuseFor(key.disk, eraseIneligibilityReason(key.disk, image, inputs.package.entries().at(image).size));
    requireFitting(inputs.contents, key.about.size - KEY_IMAGE_OFFSET, key.disk.node());
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
