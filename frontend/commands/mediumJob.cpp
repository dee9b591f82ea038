#include "commands/mediumJob.h"

#include "inputs/jobNames.h"
#include "inputs/limits.h"
#include "job/stagePauses.h"
#include "job/workplace.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <future>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace {

void flush(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen()) {
        throw Failure(withError(shown(path)));
    }
    if (S_ISDIR(file.status().st_mode)) {
        forEachEntry(file.number(), [&](const std::string& name) { flush(path + "/" + name); });
    }
    if (fsync(file.number()) != 0) {
        throw Failure(withError("what was made cannot be written out"));
    }
}

} // namespace

Inputs::Inputs(const JobChoices& choices, Medium medium)
    : package(choices.package), updates(choices.directory, choices.files),
      contents(contentsOf(medium, package, updates)) {}

void Inputs::requireOther(const struct stat& file, const std::string& what) const {
    if (package.isFile(file)) {
        throw Refusal(what + " is the tool package");
    }
    if (updates.contain(file)) {
        throw Refusal(what + " is one of the update files");
    }
}

void Inputs::announce(Console& console, const std::string& medium) const {
    const auto count = updates.fileCount();
    console.say("Making " + medium + " from " + shown(package.path()) + " and " + std::to_string(count) +
                (count == 1 ? " update file" : " update files"));
    for (const auto& name : contents.replaced) {
        console.say("Note: the update file " + shown(name) +
                    " takes the place of a boot file of the package");
    }
    for (const auto& name : contents.missing) {
        console.say("Note: the package lacks the boot file " + shown(name));
    }
}

void Inputs::requireRoom(const Descriptor& directory, const std::string& where,
                         unsigned copiesOfMedium) const {
    constexpr std::uint64_t BLOCK = 4096;        // that each file may take besides its size
    constexpr std::uint64_t PADDING = 1U << 20U; // that tools add
    const std::uint64_t packages = 2;            // as an archive, and unpacked
    const std::uint64_t files = packages * package.entries().size() + updates.entries().size() +
                                copiesOfMedium * contents.tree.size();
    requireSpace(directory.number(), where,
                 packages * package.unpackedSize() + updates.totalSize() + copiesOfMedium * contents.size() +
                     files * BLOCK + PADDING);
}

Console openConsole(const JobChoices& choices, const Inputs& inputs) {
    struct stat log {};
    if (!choices.show.log.empty() && lstat(choices.show.log.c_str(), &log) == 0) {
        inputs.requireOther(log, "the log file " + shown(choices.show.log));
    }
    return {choices.show.verbose, choices.show.log};
}

Descriptor takeIn(const Inputs& inputs, bool keepPauses, Reporter& reporter) {
    enterWorkplace();
    watchStages([&reporter](const std::string& stage) { reporter.stage(stage); }, keepPauses);
    reporter.stage("Taking in the files", inputs.package.unpackedSize() + inputs.updates.totalSize());
    std::mutex oneAtATime;
    const auto advance = [&](std::uint64_t bytes) {
        const std::lock_guard<std::mutex> lock(oneAtATime);
        reporter.advance(bytes);
    };
    Descriptor workplace(open("..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const auto package =
        openBeneath(workplace.number(), PACKAGE_NAME, O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    if (!package.isOpen()) {
        throw Failure(withError("the tool package cannot be copied"));
    }
    auto packageWritten = std::async(std::launch::async, [&] { inputs.package.writeTo(package, advance); });
    inputs.updates.copyTo(workplace.number(), advance);
    packageWritten.get();
    return workplace;
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

int finish(const JobChoices& choices, const std::string& path, std::uint64_t size,
           const std::function<std::vector<std::string>(const Advance&)>& compare, Reporter& reporter) {
    if (access(path.c_str(), R_OK) != 0) {
        throw Failure("the tool ended without a failure, but made nothing");
    }
    auto flushed = std::async(std::launch::async, [&path] { flush(path); });
    int result = 0;
    if (choices.verify) {
        reporter.stage("Reading back", size);
        result = judge(compare([&reporter](std::uint64_t bytes) { reporter.advance(bytes); }), reporter);
    }
    reporter.stage("Writing out");
    flushed.get();
    tidyUp(choices);
    return result;
}

void tidyUp(const JobChoices& choices) {
    const Descriptor workplace(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!choices.keep && workplace.isOpen()) {
        removeContents(workplace, LAUNCHERS_NAME);
    }
}

void settle(Outcome& outcome, const std::function<void()>& lastStep) {
    if (outcome.status != 0) {
        return;
    }
    try {
        lastStep();
    } catch (const Failure& failure) {
        outcome.status = EXIT_UNFINISHED;
        outcome.reason = failure.what();
    }
}

void leave(const JobChoices& choices, Workplace& workplace, Console& console) {
    if (choices.keep) {
        console.say("The workplace was left: " + workplace.keep());
    }
}

std::string readBackText(bool wasReadBack) {
    return wasReadBack ? ", read back" : "";
}

} // namespace velacreate
