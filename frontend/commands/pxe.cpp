#include "commands/commands.h"

#include "inputs/names.h"
#include "inputs/sourceDate.h"
#include "medium/outputJob.h"

#include <bootableimg.h>

namespace velacreate {

int makeNetbootDirectory(const PxeChoices& choices, const CallerEnvironment& caller, Console& console) {
    requireSourceDate();
    const Toolkit toolkit(caller.toolkit, Launchers::ofNetboot);
    requireProgramsOf(kindOf(MediumKind::netbootDirectory), toolkit);
    const auto output = Output::netbootDirectory(choices.output, choices.force);
    const Inputs inputs(choices.job, MediumKind::netbootDirectory, output.parent());
    inputs.requireOther(output);
    inputs.requireMakeable();
    inputs.requireRoom(output.parent(), 2, 2); // packed and unpacked; staged, and the archive

    const auto workflow = [&](VelaLoggerIfc& logger) {
        VelaCreation::BootableIMG builder(logger);
        auto files = inputs.namesForLibrary();
        return builder.CreateIMG("..", inputs.kind.place, files, PACKAGE_NAME);
    };
    return makeOutput({choices.job, inputs, output, nullptr, nullptr, "", PackageForm::archive,
                       libraryWorkflow(toolkit, workflow)},
                      console);
}

} // namespace velacreate
