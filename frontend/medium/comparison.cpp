#include "medium/comparison.h"

#include "display/summary.h"
#include "inputs/names.h"
#include "job/confinement.h"
#include "medium/identity.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <algorithm>
#include <utility>

#include <fcntl.h>

namespace velacreate {
namespace {
constexpr const char* STAGE_READING_BACK = "Reading back";
constexpr const char* STAGE_COMPARING = "Comparing";

/// Ends a comparison.
struct Different {};

/// Begins a stage.
/// @return to be called with the bytes that have been compared
Advance beginReading(const char* stage, std::uint64_t size, Reporter& reporter) {
    reporter.stage(stage, size);
    return [&reporter](std::uint64_t bytes) {
        reporter.advance(bytes);
        prolong();
    };
}

int report(const Differences& differences, JobKind kind, const Reporter& reporter) {
    if (differences.count() == 0) {
        return 0;
    }
    const bool isFailure = kind == JobKind::making;
    const auto lines = differences.lines();
    for (const auto& line : lines) {
        reporter.finding(line);
    }
    if (const auto unshown = differences.count() - lines.size(); unshown != 0) {
        reporter.finding("and " + std::to_string(unshown) + " more differences");
    }
    const auto others = differences.count() - 1;
    reporter.reason(lines.front() +
                    (isFailure || others == 0 ? "" : ", and " + std::to_string(others) + " more"));
    return EXIT_DIFFERENT;
}

void reportKept(const Findings& findings, const Reporter& reporter) {
    if (findings.keptFiles != 0) {
        reporter.addition(counted(findings.keptFiles, "other file") + " with " +
                          sizeText(findings.keptBytes) + " not looked at");
    }
}
} // namespace

std::vector<Outcome> compareMedia(const Call& call, const std::vector<ComparedMedium>& media) {
    JobDirectory sharedStaging(call.place);
    const auto& directory = sharedStaging.directory();
    auto staged = stageShared(call, PackageForm::unpacked, sharedStaging, nullptr);
    staged.kind = JobKind::verifying;
    std::vector<Outcome> outcomes(media.size(), staged);
    if (staged.status == 0) {
        std::vector<MediumJob> jobs;
        jobs.reserve(media.size());
        for (const auto& [name, medium] : media) {
            const auto work = [&, medium = medium](Reporter& reporter) {
                return compareConfined(directory, call.inputs, medium, JobKind::verifying, reporter);
            };
            jobs.push_back(
                {name, directory.number(), work, {}, endsEvents(name, call.console), JobKind::verifying});
        }
        outcomes = supervise(jobs, jobs.size(), call.signals, call.console);
    }
    keepIfWanted(call.choices, sharedStaging, call.console);
    return outcomes;
}

std::string explanationText(const std::string& medium, const Contents& contents) {
    std::size_t bootFiles = 0;
    std::size_t updateFiles = 0;
    for (const Tree* tree : {&contents.tree, &contents.besideArchive}) {
        for (const auto& [place, part] : *tree) {
            if (!part.isDirectory) {
                ++(isBootFile(part.source) ? bootFiles : updateFiles);
            }
        }
    }
    return "Every byte of " + medium + " is explained: " + counted(bootFiles, "boot file") + ", " +
           counted(updateFiles, "update file");
}

OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type) {
    auto absolute = absolutePath(path);
    auto file = openChosen(path, O_RDONLY, type);
    return {kind + " " + quote(absolute), absolute, std::move(file)};
}

std::function<void(const Outcome&)> endsEvents(const std::string& medium, Console& console) {
    return [&console, medium](const Outcome& outcome) {
        console.events().endMedium(medium, resultForPrograms(outcome));
    };
}

int compareAlone(const JobChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                 const OpenMedium& medium, const ReadMedium& read, Console& console) {
    inputs.requireRoom(scratch, 1, 0);
    openLog(console, choices.show, medium.path, &inputs);
    const HeldSignals signals;
    console.events().begin({identityOf(medium.name, medium.path)});
    inputs.announce(console, "Comparing " + medium.name + " with");
    const auto outcome =
        compareMedia({choices, inputs, scratch, signals, console}, {{medium.name, read}}).front();
    const int status = conclude(console, outcome, medium.name, sizeText(inputs.contents.size()));
    if (status == 0) {
        console.say(
            explanationText(read.isDisc ? "the volume on the disc" : inputs.kind.name, inputs.contents));
    }
    return status;
}

Outcome compareWithImage(const DiscDrive& drive, const Descriptor& image, const HeldSignals& signals,
                         Console& console) {
    const Descriptor anywhere(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC)); // nothing is written
    const auto work = [&](Reporter& reporter) {
        reporter.stage("Waiting for the disc");
        const auto disc = takeDisc(drive);
        const auto size = static_cast<std::uint64_t>(image.status().st_size);
        return report(compareDisc(image, disc, beginReading(STAGE_READING_BACK, size, reporter)),
                      JobKind::comparing, reporter);
    };
    const MediumJob job = {discText(drive.name()), anywhere.number(), work, {}, nullptr, JobKind::comparing};
    return supervise({job}, 1, signals, console).front();
}

int compareConfined(const Descriptor& directory, const Inputs& inputs, const ReadMedium& medium, JobKind kind,
                    Reporter& reporter) {
    const auto advance = beginReading(STAGE_READING_BACK, inputs.contents.size(), reporter);
    const Comparison comparison = {directory.number(), inputs.package, inputs.contents, medium, advance};
    Findings findings;
    const auto examine = inputs.kind.compare(comparison, findings);
    const auto work = [&] {
        examine(findings);
        for (const auto& note : findings.notes) {
            reporter.note(note);
        }
        reportKept(findings, reporter);
        return report(findings.differences, kind, reporter);
    };
    return runConfined(directory, work, reporter);
}

int compareBlocksConfined(const Descriptor& directory, const ImageBlocks& image, const ReadMedium& key,
                          JobKind kind, Reporter& reporter) {
    const auto advance = beginReading(STAGE_READING_BACK, sizeOf(image.blocks), reporter);
    return runConfined(
        directory, [&] { return report(compareBlocks(image, key, advance), kind, reporter); }, reporter);
}

int compareToFirstDifference(const Descriptor& directory, const Inputs& inputs, const ReadMedium& medium,
                             Reporter& reporter) {
    const auto advance = beginReading(STAGE_COMPARING, inputs.contents.size(), reporter);
    Findings findings;
    const auto stopAtDifference = [&] {
        if (findings.differences.count() != 0) {
            throw Different();
        }
    };
    const Advance advanceWhileSame = [&](std::uint64_t bytes) {
        advance(bytes);
        stopAtDifference();
    };
    auto itsForm = medium;
    itsForm.isFormOnly = true;
    const Advance uncounted = [](std::uint64_t /*bytes*/) { prolong(); };
    const Comparison ofForm = {directory.number(), inputs.package, inputs.contents, itsForm, uncounted};
    const Comparison ofAll = {directory.number(), inputs.package, inputs.contents, medium, advanceWhileSame};
    const auto examineItsForm = inputs.kind.compare(ofForm, findings); // without reading all files
    const auto examineAll = inputs.kind.compare(ofAll, findings);
    const auto work = [&] {
        try {
            examineItsForm(findings);
            stopAtDifference();
            examineAll(findings);
            stopAtDifference();
            return 0;
        } catch (const Different&) {
            return EXIT_DIFFERENT;
        }
    };
    return runConfined(directory, work, reporter);
}

int compareBlocksToFirstDifference(const Descriptor& directory, const ImageBlocks& image,
                                   const ReadMedium& key, Reporter& reporter) {
    const auto advance = beginReading(STAGE_COMPARING, sizeOf(image.blocks), reporter);
    return runConfined(
        directory, [&] { return compareBlocks(image, key, advance).count() == 0 ? 0 : EXIT_DIFFERENT; },
        reporter);
}

int examineForm(const Descriptor& directory, const Inputs& inputs, ReadMedium medium,
                const std::function<int(const std::string& fault)>& faulty, Reporter& reporter) {
    medium.isFormOnly = true;
    const Comparison comparison = {directory.number(), inputs.package, inputs.contents, medium,
                                   [](std::uint64_t /*bytes*/) { prolong(); }};
    Findings findings;
    const auto examine = inputs.kind.compare(comparison, findings);
    const auto work = [&] {
        examine(findings);
        reportKept(findings, reporter);
        return findings.differences.isFormRight() ? 0 : faulty(findings.differences.lines().front());
    };
    return runConfined(directory, work, reporter);
}

Descriptor takeDisc(const DiscDrive& drive) {
    if (const auto lack = drive.takeDiscIn(); !lack.empty()) {
        throw Refusal(lack);
    }
    return drive.openDisc();
}

} // namespace velacreate
