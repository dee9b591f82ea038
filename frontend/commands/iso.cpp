#include "commands/commands.h"

#include "inputs/names.h"
#include "inputs/sourceDate.h"
#include "medium/burner.h"
#include "medium/imageChecksum.h"
#include "medium/outputJob.h"
#include "support/failure.h"

#include <bootableiso.h>
#include <mediaRules.h>

#include <optional>

namespace velacreate {
namespace {
/// Refuses a file to be overwritten that is one of the job's.
void requireOther(const BurnTarget& target, const Inputs& inputs, const Output& output) {
    if (target.found()) {
        inputs.requireOther(*target.found(), target.name());
    }
    refuseIf(target.path() == output.path() || target.path() == output.path() + CHECKSUM_ENDING,
             target.name() + " is the output");
}

int makeImage(const IsoChoices& choices, const Output& output, Burner* burner,
              const CallerEnvironment& caller, Console& console) {
    std::optional<Output> checksum;
    if (choices.checksum) {
        checksum = Output::checksum(choices.output + CHECKSUM_ENDING, choices.force);
    }
    const auto medium = imageFor(choices.platform);
    const bool isPowerPc = medium == MediumKind::powerPcImage;
    const Toolkit toolkit(caller.toolkit);
    requireProgramsOf(kindOf(medium), toolkit);
    const Inputs inputs(choices.job, medium);
    inputs.requireOther(output);
    if (checksum) {
        inputs.requireOther(*checksum);
    }
    inputs.requireMakeable();
    inputs.requireRoom(output.parent(), 2, 2); // packed and unpacked; staged, and the image
    if (burner != nullptr) {
        requireOther(burner->target(), inputs, output);
        burner->target().requireOthers(choices.job.show);
        if (const int status = burner->target().askForConsent({choices.force, choices.yes}, console);
            status != 0) {
            return status;
        }
    }

    const auto workflow = [&](VelaLoggerIfc& logger) {
        VelaCreation::BootableISO builder(logger);
        auto files = inputs.updates.topLevel();
        return builder.CreateISO("..", inputs.kind.place, files, PACKAGE_NAME,
                                 isPowerPc ? VelaCreation::PLATFORM_PPC : VelaCreation::PLATFORM_LINUX);
    };
    return makeOutput({choices.job, inputs, output, nullptr, checksum ? &*checksum : nullptr,
                       checksum ? "" : output.path() + CHECKSUM_ENDING, PackageForm::archive,
                       libraryWorkflow(toolkit, workflow)},
                      console);
}
} // namespace

int makeIso(const IsoChoices& choices, const CallerEnvironment& caller, Console& console) {
    requireSourceDate();
    std::optional<Burner> burner; // so that a wrong drive is reported before the image is made
    if (!choices.burner.empty()) {
        burner.emplace(choices.burner, caller);
        console.events().expectSeveral(); // the image and the disc
    }
    const auto output = Output::image(choices.output, choices.force);
    const int status = makeImage(choices, output, burner ? &*burner : nullptr, caller, console);
    return status == 0 && burner ? burner->burn({output.path(),
                                                 choices.burner,
                                                 {choices.force, choices.yes},
                                                 choices.job.verify,
                                                 choices.job.show},
                                                console)
                                 : status;
}

} // namespace velacreate
