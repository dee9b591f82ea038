#include "commands/commands.h"

#include "commands/burner.h"
#include "commands/imageChecksum.h"
#include "commands/mediumJob.h"
#include "inputs/jobNames.h"
#include "inputs/limits.h"
#include "inputs/sourceDate.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "job/output.h"
#include "job/toolkit.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <bootableiso.h>

#include <filesystem>
#include <optional>

#include <fcntl.h>

namespace velacreate {

namespace {

constexpr int PLATFORM_LINUX = 1;
constexpr int PLATFORM_PPC = 2;
const std::string IMAGE_PLACE = ".job/image.iso";
const std::string CHECKSUM_ENDING = ".sha256";
const std::string CHECKSUM_PLACE = IMAGE_PLACE + CHECKSUM_ENDING;

void requireWhatItStartsFrom(const ToolPackage& package, bool isPowerPc) {
    if (isPowerPc) {
        package.requireFile("boot/ppc/chrp/yaboot", "a PowerPC machine starts from it");
    } else {
        package.requireFile("boot/efibootimg", "the image starts from it");
    }
}

void requireProgramsFor(const Toolkit& toolkit, bool isPowerPc) {
    requirePrograms({"unzip"});
    if (toolkit.isOwn()) {
        requirePrograms({isPowerPc ? "genisoimage" : "xorriso"});
    }
}

void requireFileSizes(const Contents& contents) {
    for (const auto& [place, part] : contents.tree) {
        requireFileSize(place, part.size, "an ISO image");
    }
}

/// With its checksum, which is worked out beside the reading back.
int finishImage(const IsoChoices& choices, const Inputs& inputs, const Descriptor& jobDirectory,
                Reporter& reporter) {
    std::optional<ImageChecksum> checksum;
    if (choices.checksum) {
        checksum.emplace(IMAGE_PLACE);
    }
    const auto compare = [&](const Advance& advance) {
        const Descriptor image(open(IMAGE_PLACE.c_str(), O_RDONLY | O_CLOEXEC));
        return compareImage(jobDirectory.number(), inputs.contents, image, advance);
    };
    const int result =
        finish(choices.job, jobDirectory, IMAGE_PLACE, inputs.contents.size(), compare, reporter);
    if (checksum && result == 0) {
        const auto name = std::filesystem::path(choices.output).filename();
        checksum->writeTo(CHECKSUM_PLACE, name, reporter);
    }
    return result;
}

int make(const IsoChoices& choices, const Inputs& inputs, const Toolkit& toolkit, Reporter& reporter) {
    const bool isPowerPc = choices.platform == "ppc";
    const auto jobDirectory = enterLibraryFolder(choices.job.show.pauses, reporter);
    stage(inputs, jobDirectory, reporter);
    toolkit.copyHere();
    LibraryLogger logger(reporter);
    VelaCreation::BootableISO builder(logger);
    auto files = inputs.updates.topLevel();
    const int result =
        builder.CreateISO("..", IMAGE_PLACE, files, PACKAGE_NAME, isPowerPc ? PLATFORM_PPC : PLATFORM_LINUX);
    if (result != 0) {
        return reportToolError(result, reporter);
    }
    return finishImage(choices, inputs, jobDirectory, reporter);
}

/// What to say of a checksum that stands there from before.
std::string noteOn(const std::string& checksum) {
    const bool isThere = std::filesystem::exists(std::filesystem::symlink_status(checksum));
    return isThere ? "Note: " + quote(checksum) + " is of an earlier image" : "";
}

int makeImage(const IsoChoices& choices, const Output& output, const CallerEnvironment& caller) {
    const bool isPowerPc = choices.platform == "ppc";
    const auto checksumPath = output.path() + CHECKSUM_ENDING;
    std::optional<Output> checksum;
    if (choices.checksum) {
        checksum = Output::checksum(choices.output + CHECKSUM_ENDING, choices.force);
    }
    const Toolkit toolkit(caller.toolkit);
    requireProgramsFor(toolkit, isPowerPc);
    const Inputs inputs(choices.job, isPowerPc ? Medium::powerPcImage : Medium::image);
    inputs.requireOther(output);
    if (checksum) {
        inputs.requireOther(*checksum);
    }
    requireWhatItStartsFrom(inputs.package, isPowerPc);
    requireFileSizes(inputs.contents);
    inputs.requireRoom(output.parent(), output.parentPath(), 1, 2); // staged, and as the image
    return makeOutput({choices.job, inputs, output, "the image " + quote(output.path()), IMAGE_PLACE,
                       "Copying files to working directory", "Creating iso file",
                       [&](Reporter& reporter) { return make(choices, inputs, toolkit, reporter); },
                       checksum ? &*checksum : nullptr, CHECKSUM_PLACE,
                       checksum ? "" : noteOn(checksumPath)});
}

} // namespace

int makeIso(const IsoChoices& choices, const CallerEnvironment& caller) {
    requireSourceDate();
    std::optional<Burner> burner; // whatever speaks against it is to be known before the image is made
    if (!choices.burner.empty()) {
        burner.emplace(choices.burner, caller);
    }
    const auto output = Output::image(choices.output, choices.force);
    const int status = makeImage(choices, output, caller);
    return status == 0 && burner ? burner->burn(output.path(), false, choices.job.verify, choices.job.show)
                                 : status;
}

} // namespace velacreate
