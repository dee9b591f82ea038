#include "medium/comparison.h"

#include "display/summary.h"
#include "inputs/names.h"
#include "job/confinement.h"
#include "medium/listedMedium.h"
#include "medium/reporting.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <algorithm>
#include <utility>

#include <fcntl.h>

namespace velacreate {
namespace {
/// @return as advanceIn
Advance beginReadingBack(std::uint64_t size, Reporter& reporter) {
    reporter.stage(STAGE_READING_BACK, size);
    return advanceIn(reporter);
}

} // namespace

std::vector<Outcome> compareMedia(const Call& call, const std::vector<ComparedMedium>& media) {
    JobDirectory sharedStaging(call.place);
    const auto& directory = sharedStaging.directory();
    auto staged = stageShared(call, sharedStaging, [&](const Descriptor& here, Reporter& reporter) {
        stageFiles(call.inputs, PackageForm::unpacked, here, nullptr, reporter);
    });
    staged.kind = JobKind::verifying;
    std::vector<Outcome> outcomes(media.size(), staged);
    if (staged.status == 0) {
        std::vector<MediumJob> jobs;
        jobs.reserve(media.size());
        for (const auto& [name, medium] : media) {
            const auto work = [&, medium = medium](Reporter& reporter) {
                const auto& inputs = call.inputs;
                const auto contents = withListAsOn(medium, inputs.kind, inputs.contents, directory, reporter);
                return compareConfined(directory, inputs, contents, medium, JobKind::verifying, reporter);
            };
            jobs.push_back({name, directory.number(), work, {}, nullptr, JobKind::verifying});
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

int compareAlone(const JobChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                 const OpenMedium& medium, const ReadMedium& read, Console& console) {
    inputs.requireRoom(scratch, 1, 0);
    openLog(console, choices.show, medium.path, &inputs);
    const HeldSignals signals;
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
        return report(compareDisc(image, disc, beginReadingBack(size, reporter)), JobKind::comparing,
                      reporter);
    };
    const MediumJob job = {discText(drive.name()), anywhere.number(), work, {}, nullptr, JobKind::comparing};
    return supervise({job}, 1, signals, console).front();
}

int compareConfined(const Descriptor& directory, const Inputs& inputs, const Contents& contents,
                    const ReadMedium& medium, JobKind kind, Reporter& reporter) {
    const auto advance = beginReadingBack(contents.size(), reporter);
    SourceFiles sources(directory.number());
    const auto head = headOfKeys(inputs.package);
    const Comparison comparison = {sources, head, contents, medium, advance};
    Findings findings;
    const auto examine = inputs.kind.compare(comparison, findings);
    const auto work = [&] {
        examine(findings);
        return reportAll(findings, kind, reporter);
    };
    return runConfined(directory, work, reporter);
}

int compareBlocksConfined(const Descriptor& directory, const ImageBlocks& image, const ReadMedium& key,
                          JobKind kind, Reporter& reporter) {
    const auto advance = beginReadingBack(sizeOf(image.blocks), reporter);
    return runConfined(
        directory, [&] { return report(compareBlocks(image, key, advance), kind, reporter); }, reporter);
}

int examineForm(const Descriptor& directory, const Inputs& inputs, ReadMedium medium,
                const std::function<int(const std::string& fault)>& faulty, Reporter& reporter) {
    medium.isFormOnly = true;
    SourceFiles sources(directory.number());
    const auto head = headOfKeys(inputs.package);
    const Comparison comparison = {sources, head, inputs.contents, medium,
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
