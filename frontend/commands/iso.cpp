#include "commands/commands.h"

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

#include <bootableiso.h>

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

void requireProgramsFor(const IsoChoices& choices, const Toolkit& toolkit, bool isPowerPc) {
    requirePrograms({"unzip"});
    if (toolkit.isOwn()) {
        requirePrograms({isPowerPc ? "genisoimage" : "xorriso"});
        if (!choices.burner.empty()) {
            requirePrograms({"wodim"});
        }
    }
}

void requireFileSizes(const Contents& contents) {
    for (const auto& [place, part] : contents.tree) {
        requireFileSize(place, part.size, "an ISO image");
    }
}

int make(const IsoChoices& choices, const Inputs& inputs, const Toolkit& toolkit, Reporter& reporter) {
    const bool isPowerPc = choices.platform == "ppc";
    const auto workplace = takeIn(inputs, choices.job.show.pauses, reporter);
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
    return finish(choices.job, IMAGE_BELOW_WORKPLACE, inputs.contents.size(), compare, reporter);
}

/// @return the exit status
int makeImage(const IsoChoices& choices, const Output& output, const Surroundings& surroundings) {
    const bool isPowerPc = choices.platform == "ppc";
    const Toolkit toolkit(surroundings.toolkit);
    requireProgramsFor(choices, toolkit, isPowerPc);
    const Inputs inputs(choices.job, isPowerPc ? Medium::powerPcImage : Medium::image);
    if (output.present()) {
        inputs.requireOther(*output.present(), "the output " + shown(choices.output));
    }
    requireWhatItStartsFrom(inputs.package, isPowerPc);
    requireFileSizes(inputs.contents);
    inputs.requireRoom(output.parent(), output.parentPath(), 2); // staged, and as the image

    const std::string medium = "the image " + output.path();
    auto console = openConsole(choices.job, inputs);
    inputs.announce(console, medium);
    const HeldSignals signals;
    Workplace workplace(output.parent(), output.parentPath());
    const int directory = workplace.directory().number();
    const auto size = inputs.contents.size();
    const MediumJob job{
        medium,
        directory,
        [&](Reporter& reporter) { return make(choices, inputs, toolkit, reporter); },
        {{"Copying files to working directory", {size, [=] { return sizeBelow(directory, "ISOCreation"); }}},
         {"Creating iso file", {size, [=] { return sizeBelow(directory, IMAGE_BELOW_WORKPLACE); }}}}};
    auto outcome = watch({job}, 1, signals, console).front();
    const auto madeSize = sizeText(sizeBelow(directory, IMAGE_BELOW_WORKPLACE));
    settle(outcome, [&] { output.take(workplace.directory(), IMAGE_BELOW_WORKPLACE); });
    leave(choices.job, workplace, console);
    return conclude(console, outcome, medium, madeSize + readBackText(choices.job.verify));
}

} // namespace

int makeIso(const IsoChoices& choices, const Surroundings& surroundings) {
    const auto output = Output::image(choices.output, choices.force);
    const int status = makeImage(choices, output, surroundings);
    return status == 0 && !choices.burner.empty()
               ? burn({output.path(), choices.burner, false, choices.job.show}, surroundings)
               : status;
}

} // namespace velacreate
