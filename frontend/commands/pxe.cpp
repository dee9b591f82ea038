#include "commands/commands.h"

#include "commands/mediumJob.h"
#include "inputs/jobNames.h"
#include "inputs/sourceDate.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "job/output.h"
#include "job/toolkit.h"
#include "medium/readBack.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <bootableimg.h>

#include <fcntl.h>

namespace velacreate {

namespace {

const std::string NETBOOT_PLACE = ".job/package";

int make(const JobChoices& choices, const Inputs& inputs, const Toolkit& toolkit, Reporter& reporter) {
    const auto jobDirectory = enterLibraryFolder(choices.show.pauses, reporter);
    stage(inputs, jobDirectory, reporter);
    toolkit.copyHere();
    LibraryLogger logger(reporter);
    VelaCreation::BootableIMG builder(logger);
    auto files = inputs.updates.topLevel();
    if (const int result = builder.CreateIMG("..", NETBOOT_PLACE, files, PACKAGE_NAME); result != 0) {
        return reportToolError(result, reporter);
    }

    const auto compare = [&](const Advance& advance) {
        const auto package = openBeneath(jobDirectory.number(), NETBOOT_PLACE, O_RDONLY | O_DIRECTORY);
        return compareNetbootDirectory(jobDirectory.number(), inputs.contents, package, advance);
    };
    return finish(choices, jobDirectory, NETBOOT_PLACE, inputs.contents.size(), compare, reporter);
}

} // namespace

int makeNetbootDirectory(const PxeChoices& choices, const CallerEnvironment& caller) {
    requireSourceDate();
    const Toolkit toolkit(caller.toolkit, Launchers::ofNetboot);
    requirePrograms({"unzip", "zip"});
    const auto output = Output::netbootDirectory(choices.output, choices.force);
    const Inputs inputs(choices.job, Medium::netbootDirectory);
    inputs.requireOther(output);
    inputs.package.requireFile("boot/pxelinux.0", "a machine on the network starts from it");
    inputs.requireRoom(output.parent(), output.parentPath(), 1, 2); // staged, and packed
    return makeOutput({choices.job, inputs, output, "the network-boot directory " + quote(output.path()),
                       NETBOOT_PLACE, "Copying files to PXE directory", "Zipping files",
                       [&](Reporter& reporter) { return make(choices.job, inputs, toolkit, reporter); }});
}

} // namespace velacreate
