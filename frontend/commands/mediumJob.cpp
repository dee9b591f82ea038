#include "commands/mediumJob.h"

#include "inputs/jobNames.h"
#include "inputs/limits.h"
#include "job/jobDirectory.h"
#include "job/stagePauses.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/sizeText.h"

#include <bootableMedia.h>

#include <filesystem>
#include <future>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace {

void flush(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        throw Failure(SystemError().about(quote(path)));
    }
    if (S_ISDIR(file.status().st_mode)) {
        forEachEntry(file.number(), [&](const std::string& name) { flush(path + "/" + name); });
    }
    if (fsync(file.number()) != 0) {
        throw Failure(SystemError().about("what was made cannot be written out"));
    }
}

} // namespace

Inputs::Inputs(const JobChoices& choices, Medium medium)
    : package(choices.package, medium == Medium::key ? CloneImages::wanted : CloneImages::unwanted),
      updates(choices.directory, choices.files), contents(contentsOf(medium, package, updates)) {
    if (updates.fileCount() == 0) {
        throw Refusal("there is no update file in what was named");
    }
}

void Inputs::requireOther(const struct stat& file, const std::string& what) const {
    if (package.isFile(file)) {
        throw Refusal(what + " is the tool package");
    }
    if (updates.contain(file)) {
        throw Refusal(what + " is one of the update files");
    }
}

void Inputs::requireOther(const Output& output) const {
    const std::string what = "the output " + quote(output.path());
    if (updates.hold(output.parent().status())) {
        throw Refusal(what + " would lie among the update files");
    }
    if (!output.present()) {
        return;
    }
    requireOther(*output.present(), what);
    if (S_ISDIR(output.present()->st_mode)) {
        const auto replaced = output.openPresent();
        forEachEntry(replaced.number(), [&](const std::string& name) {
            struct stat about {};
            if (fstatat(replaced.number(), name.c_str(), &about, AT_SYMLINK_NOFOLLOW) == 0) {
                requireOther(about, quote(name) + " in " + what);
            }
        });
    }
}

void Inputs::announce(Console& console, const std::string& beginning) const {
    const auto count = updates.fileCount();
    console.say(beginning + " " + quote(package.path()) + " and " + std::to_string(count) +
                (count == 1 ? " update file" : " update files"));
    for (const auto& name : contents.replaced) {
        console.say("Note: the update file " + quote(name) +
                    " takes the place of a boot file of the package");
    }
    for (const auto& name : contents.missing) {
        console.say("Note: the package lacks the boot file " + quote(name));
    }
}

void Inputs::requireRoom(const Descriptor& directory, const std::string& where, std::size_t timesUnpacked,
                         std::size_t copiesOfMedium) const {
    constexpr std::uint64_t BLOCK = 4096;              // that each file may take besides its size
    constexpr std::uint64_t PADDING = 1U << 20U;       // that tools add
    const std::uint64_t packages = 1U + timesUnpacked; // and as an archive
    const std::uint64_t files = packages * package.entries().size() + updates.entries().size() +
                                copiesOfMedium * contents.tree.size();
    requireSpace(directory.number(), where,
                 packages * package.unpackedSize() + updates.totalSize() + copiesOfMedium * contents.size() +
                     files * BLOCK + PADDING);
}

void requireOtherLog(const ShowChoices& choices, const std::string& medium) {
    if (choices.log.empty() || medium.empty()) {
        return;
    }
    std::error_code error;
    const auto log = std::filesystem::weakly_canonical(std::filesystem::absolute(choices.log, error), error);
    if (log == medium || log.parent_path() == medium) {
        throw Refusal("the log file " + quote(choices.log) + " is the medium, or in it; choose another");
    }
}

Console openConsole(const ShowChoices& choices, const std::string& medium, const Inputs* inputs) {
    struct stat about {};
    if (inputs != nullptr && !choices.log.empty() && stat(choices.log.c_str(), &about) == 0) {
        inputs->requireOther(about, "the log file " + quote(choices.log));
    }
    requireOtherLog(choices, medium);
    return {choices.verbose, choices.log};
}

void stage(const Inputs& inputs, const Descriptor& jobDirectory, Reporter& reporter) {
    reporter.stage("Taking in the files", inputs.package.unpackedSize() + inputs.updates.totalSize());
    std::mutex oneAtATime;
    const auto advance = [&](std::uint64_t bytes) {
        const std::lock_guard<std::mutex> lock(oneAtATime);
        reporter.advance(bytes);
    };
    const auto package =
        openBeneath(jobDirectory.number(), PACKAGE_NAME, O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    if (!package.isOpen()) {
        throw Failure(SystemError().about("the tool package cannot be copied"));
    }
    auto packageWritten = std::async(std::launch::async, [&] { inputs.package.writeTo(package, advance); });
    inputs.updates.copyTo(jobDirectory.number(), advance);
    packageWritten.get();
}

Outcome stageShared(const JobDirectory& sharedStaging, const Inputs& inputs, const HeldSignals& signals,
                    Console& console,
                    const std::function<void(const Descriptor& staged, Reporter& reporter)>& andThen) {
    const auto work = [&](Reporter& reporter) {
        const Descriptor here(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        stage(inputs, here, reporter);
        andThen(here, reporter);
        return 0;
    };
    auto taken =
        supervise({{"the files", sharedStaging.directory().number(), work}}, 1, signals, console).front();
    if (signals.hadOne()) {
        taken.status = EXIT_INTERRUPTED;
    }
    return taken;
}

Descriptor enterLibraryFolder(bool keepPauses, Reporter& reporter) {
    enterJobDirectory();
    watchStages([&reporter](const std::string& stage) { reporter.stage(stage); }, keepPauses);
    return Descriptor(open("..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

int judge(const std::vector<std::string>& differences, const Reporter& reporter) {
    if (differences.empty()) {
        return 0;
    }
    for (const auto& line : differences) {
        reporter.message(0, line);
    }
    reporter.reason(differences.front());
    return EXIT_DIFFERENT;
}

namespace {

/// What the medium was made of last: the reading back needs only what was taken in.
void dropStaged(const JobChoices& choices, const Descriptor& jobDirectory) {
    const auto staged =
        openBeneath(jobDirectory.number(), VelaCreation::BootableMedia::ISO_DIR_NAME, O_RDONLY | O_DIRECTORY);
    if (!choices.keep && staged.isOpen()) {
        removeContents(staged);
    }
}

} // namespace

int finish(const JobChoices& choices, const Descriptor& jobDirectory, const std::string& path,
           std::uint64_t size, const std::function<std::vector<std::string>(const Advance&)>& compare,
           Reporter& reporter) {
    if (access(path.c_str(), R_OK) != 0) {
        throw Failure("the tool ended without a failure, but made nothing");
    }
    auto flushed = std::async(std::launch::async, [&path] { flush(path); });
    auto unstaged = std::async(std::launch::async, [&] { dropStaged(choices, jobDirectory); });
    int result = 0;
    if (choices.verify) {
        reporter.stage("Reading back", size);
        result = judge(compare([&reporter](std::uint64_t bytes) { reporter.advance(bytes); }), reporter);
    }
    reporter.stage("Writing out");
    flushed.get();
    unstaged.get();
    tidyUp(choices, jobDirectory);
    return result;
}

void tidyUp(const JobChoices& choices, const Descriptor& jobDirectory) {
    if (!choices.keep) {
        removeContents(jobDirectory, LIBRARY_FOLDER);
    }
}

namespace {

/// The checksum comes after its image: one that is there speaks of an image that is.
void takeAll(const OutputJob& job, const Descriptor& jobDirectory, Outcome& outcome) {
    const auto taken = job.output.take(jobDirectory, job.made);
    if (job.checksum == nullptr) {
        return;
    }
    try {
        job.checksum->take(jobDirectory, job.madeChecksum);
    } catch (const Failure&) {
        outcome.hasChanged = !job.output.giveBack(jobDirectory, job.made, taken);
        throw;
    }
}

/// Where it fails, so does the job.
void putInPlace(const OutputJob& job, const JobDirectory& jobDirectory, Outcome& outcome) {
    if (outcome.status != 0) {
        return;
    }
    try {
        takeAll(job, jobDirectory.directory(), outcome);
    } catch (const Failure& failure) {
        outcome.status = EXIT_UNFINISHED;
        outcome.reason = failure.what();
    }
}

} // namespace

int makeOutput(const OutputJob& job) {
    if (job.checksum != nullptr) {
        requireOtherLog(job.choices.show, job.checksum->path());
    }
    auto console = openConsole(job.choices.show, job.output.path(), &job.inputs);
    job.inputs.announce(console, "Making " + job.medium + " from");
    const HeldSignals signals;
    JobDirectory jobDirectory(job.output.parent(), job.output.parentPath());
    const int directory = jobDirectory.directory().number();
    const auto gauge = [&](const std::string& path) {
        return Gauge{job.inputs.contents.size(), [directory, path] { return sizeBelow(directory, path); }};
    };
    const MediumJob mediumJob{job.medium,
                              directory,
                              job.work,
                              {{job.stagingStage, gauge(VelaCreation::BootableMedia::ISO_DIR_NAME)},
                               {job.makingStage, gauge(job.made)}}};
    auto outcome = supervise({mediumJob}, 1, signals, console).front();
    const auto size = sizeText(sizeBelow(directory, job.made));
    putInPlace(job, jobDirectory, outcome);
    if (outcome.status == 0 && !job.afterword.empty()) {
        console.say(job.afterword);
    }
    leave(job.choices, jobDirectory, console);
    const auto sum =
        job.checksum != nullptr ? ", its checksum in " + quote(job.checksum->path()) : std::string();
    return conclude(console, outcome, job.medium, size + readBackText(job.choices.verify) + sum);
}

void leave(const JobChoices& choices, JobDirectory& jobDirectory, Console& console) {
    if (choices.keep) {
        console.say("The job directory was left: " + jobDirectory.keep());
    }
}

std::string readBackText(bool wasReadBack) {
    return wasReadBack ? ", read back" : "";
}

} // namespace velacreate
