#include "commands/commands.h"

#include "commands/burner.h"
#include "commands/mediumJob.h"
#include "inputs/jobNames.h"
#include "inputs/limits.h"
#include "job/libraryLogger.h"
#include "job/output.h"
#include "job/toolkit.h"
#include "job/workplace.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <bootableiso.h>

#include <optional>

#include <fcntl.h>

namespace velacreate {

namespace {

constexpr int PLATFORM_LINUX = 1;
constexpr int PLATFORM_PPC = 2;
const std::string IMAGE_BELOW_WORKPLACE = ".job/image.iso";

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

int make(const IsoChoices& choices, const Inputs& inputs, const Toolkit& toolkit, Reporter& reporter) {
    const bool isPowerPc = choices.platform == "ppc";
    const auto workplace = enterWorkplaceOfLibrary(choices.job.show.pauses, reporter);
    takeIn(inputs, workplace, reporter);
    toolkit.copyHere();
    LibraryLogger logger(reporter);
    VelaCreation::BootableISO builder(logger);
    auto files = inputs.updates.topLevel();
    const int result = builder.CreateISO("..", IMAGE_BELOW_WORKPLACE, files, PACKAGE_NAME,
                                         isPowerPc ? PLATFORM_PPC : PLATFORM_LINUX);
    if (result != 0) {
        return withToolsWords(result, reporter);
    }

    const std::vector<std::string> ownFiles =
        isPowerPc ? std::vector<std::string>{} : std::vector<std::string>{"boot.catalog"};
    const auto compare = [&](const Advance& advance) {
        const Descriptor image(open(IMAGE_BELOW_WORKPLACE.c_str(), O_RDONLY | O_CLOEXEC));
        return compareArchive(workplace.number(), inputs.contents.tree, image, ownFiles, advance);
    };
    return finish(choices.job, workplace, IMAGE_BELOW_WORKPLACE, inputs.contents.size(), compare, reporter);
}

int makeImage(const IsoChoices& choices, const Output& output, const Surroundings& surroundings) {
    const bool isPowerPc = choices.platform == "ppc";
    const Toolkit toolkit(surroundings.toolkit);
    requireProgramsFor(toolkit, isPowerPc);
    const Inputs inputs(choices.job, isPowerPc ? Medium::powerPcImage : Medium::image);
    inputs.requireOther(output);
    requireWhatItStartsFrom(inputs.package, isPowerPc);
    requireFileSizes(inputs.contents);
    inputs.requireRoom(output.parent(), output.parentPath(), 1, 2); // staged, and as the image
    return makeOutput({choices.job, inputs, output, "the image " + shown(output.path()),
                       IMAGE_BELOW_WORKPLACE, "Copying files to working directory", "Creating iso file",
                       [&](Reporter& reporter) { return make(choices, inputs, toolkit, reporter); }});
}

} // namespace

int makeIso(const IsoChoices& choices, const Surroundings& surroundings) {
    std::optional<Burner> burner; // whatever speaks against it is to be known before the image is made
    if (!choices.burner.empty()) {
        burner.emplace(choices.burner, surroundings);
    }
    const auto output = Output::image(choices.output, choices.force);
    const int status = makeImage(choices, output, surroundings);
    return status == 0 && burner ? burner->burn(output.path(), false, choices.job.show) : status;
}

} // namespace velacreate
