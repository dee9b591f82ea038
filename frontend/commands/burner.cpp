#include "commands/burner.h"

#include "commands/mediumJob.h"
#include "job/libraryLogger.h"
#include "job/stagePauses.h"
#include "job/watcher.h"
#include "job/workplace.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <bootableiso.h>

#include <utility>

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

bool isPlain(const std::string& device) {
    return !device.empty() && device.front() != '-' &&
           device.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/_.,:=+-@") ==
               std::string::npos;
}

/// The name goes into a command as it is, and is taken by a program that stands elsewhere.
void requireDevice(const std::string& device) {
    const std::string what = "the drive " + shown(device);
    const std::string standIn = "stdio:";
    if (!isPlain(device)) {
        throw Refusal(what + " has a character in its name that no command can carry");
    }
    if (device.rfind(standIn, 0) == 0 && device.compare(standIn.size(), 1, "/") != 0) {
        throw Refusal(what + " is not named by its path from the root");
    }
    if (device.front() != '/') {
        return; // in one of the burner's own notations
    }
    struct stat about {};
    if (stat(device.c_str(), &about) != 0) {
        throw Refusal(withError(what));
    }
    if (!S_ISBLK(about.st_mode)) {
        throw Refusal(what + " is no drive");
    }
    if (access(device.c_str(), R_OK | W_OK) != 0) {
        throw Refusal("burning needs the right to write to " + shown(device) +
                      " (root has it, and the group of the drive)");
    }
}

int makeDisc(const Descriptor& image, const std::string& path, const std::string& device, bool isQuiet,
             bool keepPauses, const Toolkit& toolkit, Reporter& reporter) {
    const auto again = openAgain(image, path);
    enterWorkplace();
    watchStages([&reporter](const std::string& stage) { reporter.stage(stage); }, keepPauses);
    toolkit.copyHere();
    placeFile(again, path, IMAGE);
    LibraryLogger logger(reporter);
    VelaCreation::BootableISO builder(logger);
    reporter.burning();
    return withToolsWords(builder.BurnISO(IMAGE, device, "", !isQuiet), reporter);
}

} // namespace

Burner::Burner(std::string device, const Surroundings& surroundings)
    : m_device(std::move(device)), m_toolkit(surroundings.toolkit), m_scratch("", surroundings) {
    requireDevice(m_device);
    if (m_toolkit.isOwn()) {
        requirePrograms({"wodim"});
    }
}

int Burner::burn(const std::string& path, bool isQuiet, const ShowChoices& show) const {
    const auto image = openImage(path);
    const auto absolute = absolutePath(path);
    auto console = openConsole(show, absolute);
    const std::string medium = "the disc in " + m_device;
    console.say("Burning " + shown(path) + " to " + m_device);
    const HeldSignals signals;
    const Workplace workplace(m_scratch.directory(), m_scratch.path());
    const auto work = [&](Reporter& reporter) {
        return makeDisc(image, absolute, m_device, isQuiet, show.pauses, m_toolkit, reporter);
    };
    const auto outcome = watch({{medium, workplace.directory().number(), work}}, 1, signals, console).front();
    return conclude(console, outcome, medium, sizeText(static_cast<std::uint64_t>(image.status().st_size)));
}

int burn(const BurnChoices& choices, const Surroundings& surroundings) {
    return Burner(choices.device, surroundings).burn(choices.image, choices.quiet, choices.show);
}

} // namespace velacreate
