#include "commands/commands.h"

#include "commands/mediumJob.h"
#include "inputs/jobNames.h"
#include "inputs/sourceDate.h"
#include "job/libraryLogger.h"
#include "job/output.h"
#include "job/toolkit.h"
#include "job/workplace.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <bootableimg.h>

#include <fcntl.h>

namespace velacreate {

namespace {

const std::string PACKAGE_BELOW_WORKPLACE = ".job/package";

int make(const JobChoices& choices, const Inputs& inputs, const Toolkit& toolkit, Reporter& reporter) {
    const auto workplace = enterWorkplaceOfLibrary(choices.show.pauses, reporter);
    takeIn(inputs, workplace, reporter);
    toolkit.copyHere();
    LibraryLogger logger(reporter);
    VelaCreation::BootableIMG builder(logger);
    auto files = inputs.updates.topLevel();
    if (const int result = builder.CreateIMG("..", PACKAGE_BELOW_WORKPLACE, files, PACKAGE_NAME);
        result != 0) {
        return withToolsWords(result, reporter);
    }

    const auto compare = [&](const Advance& advance) {
        const auto package = openBeneath(workplace.number(), PACKAGE_BELOW_WORKPLACE, O_RDONLY | O_DIRECTORY);
        return comparePackage(workplace.number(), inputs.contents, package, advance);
    };
    return finish(choices, workplace, PACKAGE_BELOW_WORKPLACE, inputs.contents.size(), compare, reporter);
}

} // namespace

int makePxePackage(const PxeChoices& choices, const Surroundings& surroundings) {
    requireSourceDate();
    const Toolkit toolkit(surroundings.toolkit, Launchers::ofPackages);
    requirePrograms({"unzip", "zip"});
    const auto output = Output::package(choices.output, choices.force);
    const Inputs inputs(choices.job, Medium::package);
    inputs.requireOther(output);
    inputs.package.requireFile("boot/pxelinux.0", "a machine on the network starts from it");
    inputs.requireRoom(output.parent(), output.parentPath(), 1, 2); // staged, and packed
    return makeOutput({choices.job, inputs, output, "the network-boot package " + shown(output.path()),
                       PACKAGE_BELOW_WORKPLACE, "Copying files to PXE directory", "Zipping files",
                       [&](Reporter& reporter) { return make(choices.job, inputs, toolkit, reporter); }});
}

} // namespace velacreate
