#include "keys/newKeyImage.h"

#include "forms/blockMap.h"
#include "forms/fatBootSector.h"
#include "forms/fatWriter.h"
#include "forms/keyRecord.h"
#include "keys/keysToFill.h"
#include "support/failure.h"
#include "support/programs.h"
#include "trust/mediumList.h"

#include <mediaRules.h>

#include <optional>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace velacreate {
namespace {
KeySize sizeFor(const VelaCreation::CloneImage& image) {
    constexpr std::uint64_t smallestPercent = 92; // of the binary size: 8 GB are 93 % of 8 GiB
    constexpr std::uint64_t mebibyte = 1U << 20U;
    const auto sectors = static_cast<std::uint64_t>(image.largestKey);
    const auto bytes = sectors * SECTOR / 100 * smallestPercent / mebibyte * mebibyte;
    return {std::to_string(image.largestKey / VelaCreation::SECTORS_PER_GIB) + " GB", image.name, bytes};
}

/// The same for the same files, with a list of them or without.
std::string serialNumberOf(const Tree& tree, const Sums& sums) {
    constexpr std::size_t digits = 8;
    std::string lines;
    for (const auto& [place, part] : tree) {
        if (part.isDirectory) {
            lines += place + "/\n";
        } else if (!isListName(place)) {
            lines += checksumLine(sums.at(part.source), place);
        }
    }
    return sha256Of(lines).substr(0, digits);
}

/// @return the boot record and the gap
std::vector<unsigned char> headFor(const KeySize& size, const ToolPackage& package) {
    return headOfKey(package.beginningOf(size.cloneImage), size.bytes / SECTOR);
}

FatLayout layoutOf(const Descriptor& image, const ByteRange& partition) {
    MediumBytes bytes(image, sizeOf(image));
    SourceFiles none(-1);
    Differences differences;
    std::vector<std::string> notes;
    const Advance nothingIsCompared = [](std::uint64_t /*bytes*/) {};
    const auto layout = examineFatBootSector({bytes, none, differences, nothingIsCompared, nullptr},
                                             {partition, true, false}, notes);
    if (!layout || differences.count() != 0) {
        throw Failure("mkfs.vfat has made another file system than expected: " + differences.lines().front());
    }
    if (!layout->isFat32()) { // which none is that is so large
        throw Failure("mkfs.vfat has not made a FAT 32 file system");
    }
    return *layout;
}

/// Makes an image with a boot record and an empty file system.
FatLayout beginImage(const Descriptor& image, const std::string& path, std::uint64_t size,
                     const std::vector<unsigned char>& head, const std::string& serialNumber) {
    check(ftruncate(image.number(), static_cast<off_t>(size)) == 0).orFail("the image cannot be written");
    const auto start = std::to_string(head.size() / SECTOR);
    const auto made = runProgram({"mkfs.vfat", "--invariant", "-i", serialNumber, "-n",
                                  VelaCreation::KEY_LABEL, "-h", start, "--offset", start, path});
    if (made.status != 0) {
        throw Failure("mkfs.vfat failed: " + printable(made.output));
    }
    check(lseek(image.number(), 0, SEEK_SET) == 0).orFail("the image cannot be written");
    writeAll(image, reinterpret_cast<const char*>(head.data()), head.size(), "the image");
    return layoutOf(image, {head.size(), size - head.size()});
}

/// Tries it in memory.
bool holdsFiles(const KeySize& size, const Inputs& inputs) {
    const Descriptor trial(memfd_create("key", MFD_CLOEXEC));
    check(trial.isOpen()).orFail("memory for a trial");
    const auto path = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(trial.number());
    const auto layout = beginImage(trial, path, size.bytes, headFor(size, inputs.package), "0");
    return FatWriter(layout, inputs.contents.tree, 0).fits();
}
} // namespace

KeySize chooseKeySize(std::size_t gigabytes, const Inputs& inputs) {
    std::string names;
    std::optional<KeySize> largest;
    for (const auto& image : VelaCreation::cloneImages()) {
        const auto own = static_cast<std::size_t>(image.largestKey / VelaCreation::SECTORS_PER_GIB);
        names += (names.empty() ? "" : ", ") + image.name;
        if (gigabytes == own) {
            inputs.package.requireFile(image.name, "the image of a key of this size begins with it");
        }
        if ((gigabytes != own && gigabytes != 0) || inputs.package.entries().count(image.name) == 0) {
            continue;
        }
        requireFittable(inputs.package, image.name);
        largest = sizeFor(image);
        if (holdsFiles(*largest, inputs)) {
            return *largest;
        }
    }
    refuseIf(!largest,
             "the tool package has no clone image (" + names + "); the image of a key begins with one");
    const auto key = "a key of " + largest->name + (gigabytes == 0 ? "" : " (--capacity)");
    requireFitting(inputs.contents, largest->bytes, key);
    throw Refusal("the file system of " + key + " does not hold so many files");
}

void makeKeyImage(const KeySize& size, const Inputs& inputs, std::time_t time, const Sums& sums,
                  const Descriptor& jobDirectory, Reporter& reporter) {
    check(fchdir(jobDirectory.number()) == 0).orFail("the job directory");
    const auto& path = inputs.kind.place;
    const auto& tree = inputs.contents.tree;
    const auto serialNumber = serialNumberOf(tree, sums);
    const Descriptor image(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0644));
    check(image.isOpen()).orFail("the image cannot be made");
    const auto layout = beginImage(image, path, size.bytes, headFor(size, inputs.package), serialNumber);
    const FatWriter writer(layout, tree, time);
    reporter.stage("Writing the files", sizeOf(tree));
    writer.write(image, jobDirectory.number(), [&](std::uint64_t bytes) { reporter.advance(bytes); });
    writeBlockMap(image, writer.end(), path + BLOCK_MAP_ENDING);
}

} // namespace velacreate
