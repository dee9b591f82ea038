#include "medium/call.h"

#include "inputs/checksum.h"
#include "inputs/names.h"
#include "job/stagePauses.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <future>
#include <mutex>

#include <fcntl.h>

namespace velacreate {
namespace {
void stagePackage(const ToolPackage& package, PackageForm form, const Descriptor& jobDirectory,
                  const Advance& advance) {
    if (form == PackageForm::unpacked) {
        package.unpackTo(jobDirectory, advance);
        return;
    }
    const auto archive =
        openBeneath(jobDirectory.number(), PACKAGE_NAME, O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    check(archive.isOpen()).orFail("the tool package cannot be copied");
    package.writeTo(archive, advance);
}
} // namespace

void stageFiles(const Inputs& inputs, PackageForm form, const Descriptor& jobDirectory, Reporter& reporter) {
    reporter.stage("Taking in the files", inputs.package.unpackedSize() + inputs.updates.totalSize());
    std::mutex oneAtATime;
    const auto advance = [&](std::uint64_t bytes) {
        const std::lock_guard<std::mutex> lock(oneAtATime);
        reporter.advance(bytes);
    };
    auto packageStaged =
        std::async(std::launch::async, [&] { stagePackage(inputs.package, form, jobDirectory, advance); });
    inputs.updates.copyTo(jobDirectory.number(), advance);
    packageStaged.get();
}

/// The tool package has the name that no update file can have.
void sumUpInputs(const Inputs& inputs, const Descriptor& staged, Reporter& reporter) {
    reporter.stage("Summing up the files");
    reporter.sum(PACKAGE_NAME, inputs.package.sum());
    for (const auto& [place, entry] : inputs.updates.entries()) {
        if (!entry.isDirectory) {
            const auto file = openBeneath(staged.number(), place, O_RDONLY);
            check(file.isOpen()).orFail(quote(place));
            reporter.sum(place, sha256Of(file));
        }
    }
}

InputSums inputSumsOf(const Outcome& outcome) {
    InputSums sums;
    sums.updates = outcome.sums;
    if (const auto package = sums.updates.extract(PACKAGE_NAME)) {
        sums.package = package.mapped();
    }
    return sums;
}

Outcome stageShared(const Call& call, PackageForm form, const JobDirectory& sharedStaging,
                    const std::function<void(const Descriptor& staged, Reporter& reporter)>& andThen) {
    const auto work = [&](Reporter& reporter) {
        const Descriptor here(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        stageFiles(call.inputs, form, here, reporter);
        if (andThen) {
            andThen(here, reporter);
        }
        return 0;
    };
    auto outcome =
        supervise({{"the files", sharedStaging.directory().number(), work}}, 1, call.signals, call.console)
            .front();
    if (call.signals.hadOne()) {
        outcome.status = EXIT_INTERRUPTED;
    }
    return outcome;
}

Descriptor enterLibraryFolder(bool keepPauses, Reporter& reporter) {
    enterJobDirectory();
    watchStages([&reporter](const std::string& stage) { reporter.stage(stage); }, keepPauses);
    return Descriptor(open("..", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

void tidyUp(const JobChoices& choices, const Descriptor& jobDirectory) {
    if (!choices.keep) {
        removeContents(jobDirectory, LIBRARY_FOLDER);
    }
}

void keepIfWanted(const JobChoices& choices, JobDirectory& jobDirectory, Console& console) {
    if (choices.keep) {
        console.say("The job directory was left: " + jobDirectory.keep());
    }
}

} // namespace velacreate
