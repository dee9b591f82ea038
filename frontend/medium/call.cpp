#include "medium/call.h"

#include "inputs/names.h"
#include "job/stagePauses.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "trust/mediumList.h"

#include <future>
#include <mutex>

#include <fcntl.h>

namespace velacreate {
namespace {
void stagePackage(const ToolPackage& package, PackageForm form, const Descriptor& jobDirectory,
                  const Advance& advance, Sums* sums) {
    if (form == PackageForm::unpacked) {
        package.unpackTo(jobDirectory, advance, sums);
        return;
    }
    const auto archive =
        openBeneath(jobDirectory.number(), PACKAGE_NAME, O_RDWR | O_CREAT | O_EXCL, S_IRUSR | S_IWUSR);
    check(archive.isOpen()).orFail("the tool package cannot be copied");
    package.writeTo(archive, advance, sums);
}

void write(const Descriptor& directory, const std::string& name, const std::string& content) {
    const auto file = openBeneath(directory.number(), name, O_WRONLY | O_CREAT | O_EXCL, 0644);
    check(file.isOpen()).orFail(quote(name));
    writeAll(file, content.data(), content.size(), name);
}
} // namespace

void stageFiles(const Inputs& inputs, PackageForm form, const Descriptor& jobDirectory, Sums* sums,
                Reporter& reporter) {
    reporter.stage("Taking in the files", inputs.package.unpackedSize() + inputs.updates.totalSize());
    std::mutex oneAtATime;
    const auto advance = [&](std::uint64_t bytes) {
        const std::lock_guard<std::mutex> lock(oneAtATime);
        reporter.advance(bytes);
    };
    Sums ofUpdates;
    const bool isSummedUp = sums != nullptr || inputs.requiredSums;
    auto packageStaged = std::async(std::launch::async,
                                    [&] { stagePackage(inputs.package, form, jobDirectory, advance, sums); });
    inputs.updates.copyTo(jobDirectory.number(), advance, isSummedUp ? &ofUpdates : nullptr);
    if (inputs.requiredSums) {
        inputs.requiredSums->requireEqual(inputs.updates, ofUpdates);
    }
    packageStaged.get();
    if (sums != nullptr) {
        sums->merge(ofUpdates);
    }
}

int openSigner(Signer& signer, const ManifestChoices& choices, const Inputs& inputs,
               const HeldSignals& signals, Console& console) {
    return inputs.description
               ? signer.open(choices.secretKey, commentOf(*inputs.description), signals, console)
               : 0;
}

void writeMediumList(const Sums& listed, const Signer& signer, const Descriptor& jobDirectory) {
    const auto list = mediumListOf(listed);
    write(jobDirectory, MEDIUM_LIST, list);
    if (signer.isOpen()) {
        write(jobDirectory, MEDIUM_SIGNATURE, signer.sign(list));
    }
}

Outcome stageShared(const Call& call, const JobDirectory& sharedStaging,
                    const std::function<void(const Descriptor& staged, Reporter& reporter)>& stage) {
    const auto work = [&](Reporter& reporter) {
        const Descriptor here(open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        stage(here, reporter);
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
