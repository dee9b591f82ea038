#include "commands/comparison.h"

#include "inputs/jobNames.h"
#include "job/libraryLogger.h"
#include "medium/readBack.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/sizeText.h"

#include <utility>

#include <fcntl.h>

namespace velacreate {

namespace {

/// In the job's process, which starts there.
void unpack(Reporter& reporter) {
    reporter.stage("Unpacking the tool package");
    const auto result = runProgram({"unzip", "-q", PACKAGE_NAME, "boot/*"});
    if (result.status != 0) {
        throw Failure("the tool package cannot be unpacked: " + reasonIn(result.output));
    }
}

int tellDifferences(const std::vector<std::string>& differences, const Reporter& reporter) {
    if (differences.empty()) {
        return 0;
    }
    for (const auto& line : differences) {
        reporter.finding(line);
    }
    const auto others = differences.size() - 1;
    reporter.reason(differences.front() + (others == 0 ? "" : ", and " + std::to_string(others) + " more"));
    return EXIT_DIFFERENT;
}

MediumJob comparingJob(const std::string& medium, const Descriptor& directory, const Compare& compare,
                       JobKind kind) {
    const auto work = [compare, &directory](Reporter& reporter) {
        return tellDifferences(compare(directory, reporter), reporter);
    };
    return {medium, directory.number(), work, {}, nullptr, kind};
}

} // namespace

std::vector<Outcome> compareMedia(const Comparisons& all, const std::vector<ComparedMedium>& media) {
    JobDirectory sharedStaging(all.scratch.directory(), all.scratch.path());
    auto taken = stageShared(sharedStaging, all.inputs, all.signals, all.console,
                             [](const Descriptor& /*staged*/, Reporter& reporter) { unpack(reporter); });
    taken.kind = JobKind::verifying;
    std::vector<Outcome> outcomes(media.size(), taken);
    if (taken.status == 0) {
        std::vector<MediumJob> jobs;
        jobs.reserve(media.size());
        for (const auto& [name, compare] : media) {
            jobs.push_back(comparingJob(name, sharedStaging.directory(), compare, JobKind::verifying));
        }
        outcomes = supervise(jobs, jobs.size(), all.signals, all.console);
    }
    leave(all.choices, sharedStaging, all.console);
    return outcomes;
}

OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type) {
    auto absolute = absolutePath(path);
    Descriptor file(open(absolute.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!file.isOpen()) {
        throw Refusal(SystemError().about(quote(path)));
    }
    if ((file.status().st_mode & S_IFMT) != type) {
        throw Refusal(quote(path) + " is not a " + (type == S_IFDIR ? "directory" : "file"));
    }
    return {kind + " " + quote(absolute), absolute, std::move(file)};
}

int compareAlone(const JobChoices& choices, const Inputs& inputs, const ScratchDirectory& scratch,
                 const OpenMedium& medium, const Compare& compare) {
    inputs.requireRoom(scratch.directory(), scratch.path(), 1, 0);
    auto console = openConsole(choices.show, medium.path, &inputs);
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
        const auto disc = takeDisc(drive, reporter);
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

Descriptor takeDisc(const DiscDrive& drive, Reporter& reporter) {
    reporter.stage("Waiting for the disc");
    if (const auto lack = drive.takeDiscIn(); !lack.empty()) {
        throw Refusal(lack);
    }
    return drive.openDisc();
}

} // namespace velacreate
