#include "medium/burner.h"

#include "disks/discDrive.h"
#include "display/summary.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "job/supervisor.h"
#include "medium/comparison.h"
#include "medium/isoImage.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"

#include <bootableiso.h>
#include <mediaRules.h>

#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {
namespace {
const std::string IMAGE = std::string("image") + VelaCreation::ISO_ENDING; // in the library folder

Descriptor openImage(const std::string& path) {
    refuseIf(!VelaCreation::endsWithIso(path), quote(path) + " does not end in .iso");
    auto image = openChosen(path, O_RDONLY, S_IFREG);
    requireWholeIsoImage(image, path);
    return image;
}

bool isPlain(const std::string& device) {
    return !device.empty() && device.front() != '-' &&
           device.find_first_not_of(
               "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/_.,:=+-@") ==
               std::string::npos;
}

/// The name becomes part of a command, and the program runs in another directory.
void requireDevice(const std::string& device) {
    const std::string what = "the drive " + quote(device);
    refuseIf(!isPlain(device), what + " has a character in its name that no command can carry");
    refuseIf(device.rfind(STAND_IN, 0) == 0 && device.compare(STAND_IN.size(), 1, "/") != 0,
             what + " is not named by its path from the root");
    if (device.front() != '/') {
        return; // a burner's own notation
    }
    struct stat about {};
    check(stat(device.c_str(), &about) == 0).orRefuse(what);
    refuseIf(!S_ISBLK(about.st_mode), what + " is no drive");
    refuseIf(access(device.c_str(), R_OK | W_OK) != 0, "burning needs the right to write to " +
                                                           quote(device) +
                                                           " (root has it, and the group of the drive)");
}

void requireDisc(const std::string& device) {
    const DiscDrive drive(device);
    refuseIf(drive.isReadOnly(), "the drive " + quote(device) + " cannot burn discs");
    if (const auto lack = drive.lacksDisc(); !lack.empty()) {
        throw Refusal(lack);
    }
}

/// Asks the burner itself.
void requireAnswer(const std::string& device, const Toolkit& toolkit) {
    const auto check = toolkit.runBurner({"dev=" + device, "-checkdrive"});
    if (check.status != 0) {
        const auto reason = reasonIn(check.output);
        throw Refusal("the drive " + quote(device) + " cannot be used" +
                      (reason.empty() ? "" : ": " + reason));
    }
}

int makeDisc(const Descriptor& image, const std::string& path, const std::string& device, bool isQuiet,
             bool keepPauses, const Toolkit& toolkit, Reporter& reporter) {
    const auto again = openAgain(image, path);
    enterLibraryFolder(keepPauses, reporter);
    toolkit.copyHere();
    placeFile(again, path, IMAGE);
    LibraryLogger logger(reporter);
    VelaCreation::BootableISO builder(logger);
    reporter.burning();
    return reportToolError(builder.BurnISO(IMAGE, device, "", !isQuiet), reporter);
}

/// @return refused, when the disc cannot be read
Outcome compareBurnt(const std::string& device, const Descriptor& image, const HeldSignals& signals,
                     Console& console) {
    if (!DiscDrive::isNode(device)) {
        return {EXIT_REFUSED, quote(device) + " names no file that it could be read by", {}, false, 0};
    }
    try {
        return compareWithImage(DiscDrive(device), image, signals, console);
    } catch (const Refusal& refusal) { // the drive may be gone
        return {EXIT_REFUSED, refusal.what(), {}, false, 0};
    }
}

std::string asShellWord(const std::string& text) {
    std::string word = "'";
    for (const char letter : text) {
        word += letter == '\'' ? "'\\''" : std::string(1, letter);
    }
    return word + "'";
}
} // namespace

Burner::Burner(std::string device, const CallerEnvironment& caller)
    : m_device(std::move(device)), m_toolkit(caller.toolkit), m_scratch(scratchDirectory("", caller)) {
    requireDevice(m_device);
    if (m_toolkit.isOwn()) {
        requirePrograms({"wodim"}, LAUNCHERS_SEARCH_PATH);
    }
    if (m_device.front() == '/') {
        requireDisc(m_device);
    }
    requireAnswer(m_device, m_toolkit);
}

int Burner::burn(const std::string& path, bool isQuiet, bool verify, const ShowChoices& show,
                 Console& console) const {
    const auto image = openImage(path);
    DiscDrive::requireOther(m_device, image.status());
    const auto absolute = absolutePath(path);
    openLog(console, show, absolute);
    const std::string medium = "the disc in " + m_device;
    console.say("Burning " + quote(path) + " to " + m_device);
    const HeldSignals signals;
    const JobDirectory jobDirectory(m_scratch);
    const auto work = [&](Reporter& reporter) {
        return makeDisc(image, absolute, m_device, isQuiet, show.pauses, m_toolkit, reporter);
    };
    const auto outcome =
        supervise({{medium, jobDirectory.directory().number(), work}}, 1, signals, console).front();
    const auto size = sizeText(static_cast<std::uint64_t>(image.status().st_size));
    const int status = conclude(console, outcome, medium, size);
    if (status != 0 || !verify) {
        return status;
    }
    const auto comparison = compareBurnt(m_device, image, signals, console);
    if (comparison.status != EXIT_REFUSED) {
        return conclude(console, comparison, medium, size);
    }
    console.say("The disc was not read back, as " + comparison.reason + ". Put it in, and compare it:");
    console.say("velacreate verify --disc " + (DiscDrive::isNode(m_device) ? m_device : "DEVICE") + " " +
                asShellWord(absolute));
    return 0;
}

} // namespace velacreate
