#include "medium/comparison.h"

#include "display/summary.h"
#include "medium/readBack.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <utility>

#include <fcntl.h>

namespace velacreate {
namespace {
MediumJob comparingJob(const std::string& medium, const Descriptor& directory, const Compare& compare,
                       JobKind kind) {
    const auto work = [compare, kind, &directory](Reporter& reporter) {
        return reportDifferences(compare(directory, reporter), kind, reporter);
    };
    return {medium, directory.number(), work, {}, nullptr, kind};
}
} // namespace

std::vector<Outcome> compareMedia(const Call& call, const std::vector<ComparedMedium>& media) {
    JobDirectory sharedStaging(call.place);
    auto staged = stageShared(call, PackageForm::unpacked, sharedStaging, nullptr);
    staged.kind = JobKind::verifying;
    std::vector<Outcome> outcomes(media.size(), staged);
    if (staged.status == 0) {
        std::vector<MediumJob> jobs;
        jobs.reserve(media.size());
        for (const auto& [name, compare] : media) {
            jobs.push_back(comparingJob(name, sharedStaging.directory(), compare, JobKind::verifying));
        }
        outcomes = supervise(jobs, jobs.size(), call.signals, call.console);
    }
    keepIfWanted(call.choices, sharedStaging, call.console);
    return outcomes;
}

OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type) {
    auto absolute = absolutePath(path);
    auto file = openChosen(path, O_RDONLY, type);
    return {kind + " " + quote(absolute), absolute, std::move(file)};
}

int compareAlone(const JobChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                 const OpenMedium& medium, const Compare& compare, Console& console) {
    inputs.requireRoom(scratch, 1, 0);
    openLog(console, choices.show, medium.path, &inputs);
    const HeldSignals signals;
    inputs.announce(console, "Comparing " + medium.name + " with");
    const auto outcome =
        compareMedia({choices, inputs, scratch, signals, console}, {{medium.name, compare}}).front();
    return conclude(console, outcome, medium.name, sizeText(inputs.contents.size()));
}

Outcome compareWithImage(const DiscDrive& drive, const Descriptor& image, const HeldSignals& signals,
                         Console& console) {
    const Descriptor anywhere(open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC)); // nothing is written
    const auto compare = [&](const Descriptor& /*staged*/, Reporter& reporter) {
        reporter.stage("Waiting for the disc");
        const auto disc = takeDisc(drive);
        const auto size = static_cast<std::uint64_t>(image.status().st_size);
        return compareDisc(image, disc, beginReadingBack(size, reporter));
    };
    const auto job = comparingJob("the disc in " + drive.name(), anywhere, compare, JobKind::comparing);
    return supervise({job}, 1, signals, console).front();
}

Advance beginReadingBack(std::uint64_t size, Reporter& reporter) {
    reporter.stage("Reading back", size);
    return [&reporter](std::uint64_t bytes) { reporter.advance(bytes); };
}

int reportDifferences(const std::vector<std::string>& differences, JobKind kind, const Reporter& reporter) {
    if (differences.empty()) {
        return 0;
    }
    const bool isFailure = kind == JobKind::making;
    for (const auto& line : differences) {
        isFailure ? reporter.message(VelaCreation::LEVEL_FAILURE, line) : reporter.finding(line);
    }
    const auto others = differences.size() - 1;
    reporter.reason(differences.front() +
                    (isFailure || others == 0 ? "" : ", and " + std::to_string(others) + " more"));
    return EXIT_DIFFERENT;
}

Descriptor takeDisc(const DiscDrive& drive) {
    if (const auto lack = drive.takeDiscIn(); !lack.empty()) {
        throw Refusal(lack);
    }
    return drive.openDisc();
}

} // namespace velacreate
