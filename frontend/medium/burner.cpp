#include "medium/burner.h"

#include "disks/discDrive.h"
#include "disks/inventory.h"
#include "display/summary.h"
#include "inputs/checksum.h"
#include "inputs/limits.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "job/supervisor.h"
#include "medium/comparison.h"
#include "medium/identity.h"
#include "medium/isoImage.h"
#include "medium/report.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <bootableiso.h>
#include <mediaRules.h>

#include <fcntl.h>
#include <nlohmann/json.hpp>

namespace velacreate {
namespace {
const std::string IMAGE = std::string("image") + VelaCreation::ISO_ENDING; // in the library folder

Descriptor openImage(const std::string& path) {
    refuseIf(!VelaCreation::endsWithIso(path), quote(path) + " does not end in .iso");
    auto image = openChosen(path, O_RDONLY, S_IFREG);
    requireWholeIsoImage(image, path);
    return image;
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
             const ShowChoices& choices, const Toolkit& toolkit, Reporter& reporter) {
    const auto again = openAgain(image, path);
    enterLibraryFolder(choices.pauses, reporter);
    if (!choices.report.empty()) {
        reporter.stage("Summing up the image", sizeOf(image));
        reporter.sum(IMAGE, sha256Of(image, [&](std::uint64_t bytes) { reporter.advance(bytes); }));
    }
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

Burner::Burner(const std::string& device, const CallerEnvironment& caller)
    : m_target(device), m_toolkit(caller.toolkit), m_scratch(scratchDirectory("", caller)) {
    requireExecutable(m_scratch, "name another one with TMPDIR");
    m_toolkit.requirePrograms({"wodim"});
    requireAnswer(m_target.device(), m_toolkit);
}

int Burner::burn(const BurnChoices& choices, Console& console) {
    const auto image = openImage(choices.image);
    const auto& device = m_target.device();
    DiscDrive::requireOther(device, image.status());
    m_target.requireOthers(choices.show);
    const auto path = absolutePath(choices.image);
    Report report(choices.show.report);
    openLog(console, choices.show, path);
    if (const int status = m_target.askForConsent(choices.overwrite, console); status != 0) {
        return status;
    }
    m_target.requireUnchanged();
    const auto medium = discText(device);
    const HeldSignals signals;
    console.events().begin({identityOf(medium, m_target.path())});
    console.say("Burning " + quote(choices.image) + " to " + device);
    const JobDirectory jobDirectory(m_scratch);
    const auto work = [&](Reporter& reporter) {
        return makeDisc(image, path, device, console.isQuiet(), choices.show, m_toolkit, reporter);
    };
    const auto outcome =
        supervise({{medium, jobDirectory.directory().number(), work}}, 1, signals, console).front();
    const auto size = sizeText(static_cast<std::uint64_t>(image.status().st_size));
    const auto end = [&](const Outcome& last) {
        console.events().endMedium(medium, resultForPrograms(last));
        const auto made = outcome.sums.find(IMAGE);
        report.append(jsonOf(device, m_target.about()), last,
                      {"", {}, "", made != outcome.sums.end() ? made->second : ""}, console);
    };
    const int status = showResult(console, outcome, medium, size);
    if (status != 0 || !choices.verify) {
        end(outcome);
        return status;
    }
    const auto comparison = compareBurnt(device, image, signals, console);
    if (comparison.status != EXIT_REFUSED) {
        end(comparison.status == 0 ? outcome : comparison);
        return showResult(console, comparison, medium, size);
    }
    end(outcome);
    console.say("The disc was not read back, as " + comparison.reason + ". Put it in, and compare it:");
    console.say("velacreate verify --disc " + (DiscDrive::isNode(device) ? device : "DEVICE") + " " +
                asShellWord(path));
    return 0;
}

} // namespace velacreate
