#include "commands/commands.h"

#include "commands/scratch.h"
#include "display/console.h"
#include "inputs/limits.h"
#include "job/libraryLogger.h"
#include "job/stagePauses.h"
#include "job/toolkit.h"
#include "job/watcher.h"
#include "job/workplace.h"
#include "support/failure.h"
#include "support/programs.h"

#include <bootableiso.h>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace {

const std::string IMAGE = "image.iso"; // in the launchers' folder

Descriptor openImage(const std::string& path) {
    if (path.size() < 4 || path.compare(path.size() - 4, 4, ".iso") != 0) {
        throw Refusal(shown(path) + " does not end in .iso");
    }
    Descriptor image(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!image.isOpen()) {
        throw Refusal(withError(shown(path)));
    }
    if (!S_ISREG(image.status().st_mode)) {
        throw Refusal(shown(path) + " is not a file");
    }
    return image;
}

/// The device's name goes into a command as it is.
void requireDevice(const std::string& device) {
    if (device.empty() || device.front() == '-' ||
        device.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/_.,:=+-@") !=
            std::string::npos) {
        throw Refusal("the device " + shown(device) + " is not a name that a command could carry");
    }
    if (device.rfind("/dev/", 0) == 0 && access(device.c_str(), F_OK) == 0 &&
        access(device.c_str(), R_OK | W_OK) != 0) {
        throw Refusal("burning needs the right to write to " + device +
                      " (root has it, or the group of the drive)");
    }
}

int makeDisc(const BurnChoices& choices, const Descriptor& image, const std::string& path,
             const Toolkit& toolkit, Reporter& reporter) {
    enterWorkplace();
    watchStages([&reporter](const std::string& stage) { reporter.stage(stage); }, choices.show.pauses);
    toolkit.copyHere();
    placeFile(image, path, IMAGE);
    LibraryLogger logger(reporter);
    VelaCreation::BootableISO builder(logger);
    reporter.burning();
    reporter.changing();
    return withToolsWords(builder.BurnISO(IMAGE, choices.device, "", !choices.quiet), reporter);
}

} // namespace

int burn(const BurnChoices& choices, const Surroundings& surroundings) {
    const auto image = openImage(choices.image);
    const auto path = absolutePath(choices.image);
    requireDevice(choices.device);
    const Toolkit toolkit(surroundings.toolkit);
    if (toolkit.isOwn()) {
        requirePrograms({"wodim"});
    }
    const ScratchDirectory scratch("", surroundings);

    Console console(choices.show.verbose, choices.show.log);
    const std::string medium = "the disc in " + choices.device;
    console.say("Burning " + shown(choices.image) + " to " + choices.device);
    const HeldSignals signals;
    const Workplace workplace(scratch.directory(), scratch.path());
    const auto outcome =
        watch({{medium, workplace.directory().number(),
                [&](Reporter& reporter) { return makeDisc(choices, image, path, toolkit, reporter); }}},
              1, signals, console)
            .front();
    return conclude(console, outcome, medium, sizeText(static_cast<std::uint64_t>(image.status().st_size)));
}

} // namespace velacreate
