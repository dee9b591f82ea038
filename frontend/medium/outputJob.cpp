#include "medium/outputJob.h"

#include "display/summary.h"
#include "forms/blockMap.h"
#include "inputs/checksum.h"
#include "inputs/limits.h"
#include "job/bytesRead.h"
#include "job/jobDirectory.h"
#include "job/libraryLogger.h"
#include "job/supervisor.h"
#include "medium/comparison.h"
#include "medium/identity.h"
#include "medium/imageChecksum.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"
#include "trust/mediumList.h"

#include <algorithm>
#include <filesystem>
#include <future>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace velacreate {
namespace {
std::string checksumPlace(const Kind& kind) {
    return kind.place + CHECKSUM_ENDING;
}

/// What the job has made, and where it is to be.
struct Made {
    const Output* output;
    std::string place; ///< below the job directory
};

/// The output, and what is made beside it.
std::vector<Made> allOf(const OutputJob& job) {
    const auto& kind = job.inputs.kind;
    std::vector<Made> all = {{&job.output, kind.place}};
    if (job.blockMap != nullptr) {
        all.push_back({job.blockMap, kind.place + BLOCK_MAP_ENDING});
    }
    if (job.checksum != nullptr) {
        all.push_back({job.checksum, checksumPlace(kind)});
    }
    return all;
}

std::string nameOf(const Output& output) {
    return std::filesystem::path(output.path()).filename();
}

bool isReported(const OutputJob& job) {
    return !job.choices.show.report.empty();
}

void flush(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    check(file.isOpen()).orFail(quote(path));
    if (S_ISDIR(file.status().st_mode)) {
        forEachEntry(file.number(), [&](const std::string& name) { flush(path + "/" + name); });
    }
    check(fsync(file.number()) == 0).orFail("what was made cannot be written out");
}

/// The reading back needs only the files that the output was made of.
void dropStaging(const JobChoices& choices, const Descriptor& jobDirectory) {
    const auto staging =
        openBeneath(jobDirectory.number(), VelaCreation::BootableMedia::ISO_DIR_NAME, O_RDONLY | O_DIRECTORY);
    if (!choices.keep && staging.isOpen()) {
        removeContents(staging);
    }
}

int readBack(const Inputs& inputs, const Descriptor& jobDirectory, Reporter& reporter) {
    const auto medium = openBeneath(jobDirectory.number(), inputs.kind.place, O_RDONLY);
    check(medium.isOpen()).orFail("what was made");
    return compareConfined(jobDirectory, inputs, inputs.contents, {medium, sizeOf(medium)}, JobKind::making,
                           reporter);
}

/// Reads the output back. Meanwhile it is flushed, and its checksum is made.
int finish(const OutputJob& job, const Descriptor& jobDirectory, Reporter& reporter) {
    const auto& kind = job.inputs.kind;
    const auto& path = kind.place; // the current directory is the job directory now
    if (access(path.c_str(), R_OK) != 0) {
        throw Failure("the tool ended without a failure, but made nothing");
    }
    std::optional<ImageChecksum> checksum;
    if (job.checksum != nullptr || isReported(job)) {
        checksum.emplace(kind.besideArchive.empty() ? path : path + "/" + VelaCreation::NETBOOT_ARCHIVE);
    }
    auto flushed = std::async(std::launch::async, [&path] { flush(path); });
    auto unstaged = std::async(std::launch::async, [&] { dropStaging(job.choices, jobDirectory); });
    const int result = job.choices.verify ? readBack(job.inputs, jobDirectory, reporter) : 0;
    reporter.stage(STAGE_WRITING_OUT);
    flushed.get();
    unstaged.get();
    tidyUp(job.choices, jobDirectory);
    if (checksum && result == 0) {
        const auto sum = checksum->sum(reporter);
        reporter.sum(kind.place, sum);
        if (job.checksum != nullptr) {
            writeChecksum(checksumPlace(kind), sum, nameOf(job.output));
        }
    }
    return result;
}

/// A network-boot directory gets its list when the archive is made.
void addListBesideArchive(const Inputs& inputs, const Sums& sums, const Signer& signer,
                          const Descriptor& jobDirectory, Reporter& reporter) {
    const auto& name = VelaCreation::NETBOOT_ARCHIVE;
    const auto archive = openBeneath(jobDirectory.number(), inputs.kind.place + "/" + name, O_RDONLY);
    check(archive.isOpen()).orFail(quote(name));
    reporter.stage("Summing up the archive", sizeOf(archive));
    auto listed = sumsByPlace(inputs.contents.besideArchive, sums);
    listed[name] = sha256Of(archive, [&](std::uint64_t bytes) { reporter.advance(bytes); });
    writeMediumList(listed, signer, jobDirectory);
    const auto made = openBeneath(jobDirectory.number(), inputs.kind.place, O_RDONLY | O_DIRECTORY);
    check(made.isOpen()).orFail(quote(inputs.kind.place));
    copyMediumList(inputs.contents.besideArchive, jobDirectory, made);
}

/// In the job's process.
int make(const OutputJob& job, const Signer& signer, Reporter& reporter) {
    const auto& contents = job.inputs.contents;
    const bool hasArchive = !contents.besideArchive.empty();
    const auto jobDirectory = enterLibraryFolder(job.choices.show.pauses, reporter);
    Sums sums;
    const bool areWanted =
        contents.haveList() || isReported(job) || job.form == PackageForm::unpacked; // for a key's image
    stageFiles(job.inputs, job.form, jobDirectory, areWanted ? &sums : nullptr, reporter);
    if (contents.haveList() && !hasArchive) {
        writeMediumList(sumsByPlace(contents.tree, sums), signer, jobDirectory);
    }
    if (isReported(job)) {
        reportSums(job.inputs, sums, reporter);
    }
    const int result = job.workflow(jobDirectory, sums, reporter);
    if (result == 0 && contents.haveList() && hasArchive) {
        addListBesideArchive(job.inputs, sums, signer, jobDirectory, reporter);
    }
    return result == 0 ? finish(job, jobDirectory, reporter) : result;
}

/// The checksum of the image that is to be replaced is moved away. Another file of this name stays.
std::optional<Output> moveEarlierChecksum(const OutputJob& job, const Descriptor& jobDirectory) {
    if (job.earlierChecksum.empty() || !job.output.present()) {
        return std::nullopt;
    }
    try {
        auto earlier = Output::checksum(job.earlierChecksum, true);
        if (earlier.present() && isChecksumOf(earlier.openPresent(), nameOf(job.output)) &&
            earlier.moveAway(jobDirectory, checksumPlace(job.inputs.kind))) {
            return earlier;
        }
    } catch (const Refusal&) { // it is no file
    }
    return std::nullopt;
}

/// An earlier checksum goes first and a new one comes last, so that none ever belongs to another image.
void putAllInPlace(const OutputJob& job, const Descriptor& jobDirectory, Outcome& outcome) {
    const auto earlierChecksum = moveEarlierChecksum(job, jobDirectory);
    std::vector<std::pair<Made, struct stat>> taken;
    try {
        for (const auto& made : allOf(job)) {
            taken.emplace_back(made, made.output->take(jobDirectory, made.place));
        }
    } catch (const Failure&) {
        for (; !taken.empty(); taken.pop_back()) {
            const auto& [made, status] = taken.back();
            outcome.hasChanged |= !made.output->giveBack(jobDirectory, made.place, status);
        }
        if (earlierChecksum && !outcome.hasChanged) {
            earlierChecksum->moveBack(jobDirectory, checksumPlace(job.inputs.kind));
        }
        throw;
    }
}

/// The job fails when this fails.
void putInPlace(const OutputJob& job, const JobDirectory& jobDirectory, Outcome& outcome) {
    if (outcome.status != 0) {
        return;
    }
    try {
        putAllInPlace(job, jobDirectory.directory(), outcome);
    } catch (const Failure& failure) {
        outcome.status = EXIT_UNFINISHED;
        outcome.reason = failure.what();
    }
}

/// The output has a place that no update file can have.
InputSums sumsOf(const OutputJob& job, const Outcome& outcome) {
    auto sums = inputSumsOf(outcome);
    if (const auto made = sums.updates.extract(job.inputs.kind.place)) {
        sums.made = made.mapped();
    }
    return sums;
}

bool isThere(const std::string& path) {
    struct stat about {};
    return !path.empty() && lstat(path.c_str(), &about) == 0;
}

/// Of the stage that reads all files of the archive.
Gauge readingGauge(const Contents& contents) {
    const auto readSince = [start = std::optional<std::uint64_t>()](pid_t job) mutable {
        const auto bytes = bytesReadBy(job);
        start = start.value_or(bytes);
        return std::max(bytes, *start) - *start;
    };
    return {sizeOf(contents.tree), readSince};
}

std::map<std::string, Gauge> gaugesOf(const Inputs& inputs, int jobDirectory) {
    std::map<std::string, Gauge> gauges;
    for (const auto& [text, growing] : inputs.kind.stages) {
        const auto sizeSoFar = [jobDirectory, path = growing](pid_t /*job*/) {
            return sizeBelow(jobDirectory, path);
        };
        gauges[text] =
            growing.empty() ? readingGauge(inputs.contents) : Gauge{inputs.contents.size(), sizeSoFar};
    }
    return gauges;
}
} // namespace

void requireProgramsOf(const Kind& kind, const Toolkit& toolkit) {
    requirePrograms(kind.programs);
    toolkit.requirePrograms(kind.toolkitPrograms);
}

Workflow libraryWorkflow(const Toolkit& toolkit, const std::function<int(VelaLoggerIfc&)>& run) {
    return [&toolkit, run](const Descriptor& /*jobDirectory*/, const Sums& /*sums*/, Reporter& reporter) {
        toolkit.copyHere();
        LibraryLogger logger(reporter);
        return reportToolError(run(logger), reporter);
    };
}

int makeOutput(const OutputJob& job, Console& console) {
    const auto& kind = job.inputs.kind;
    const auto medium = kind.name + " " + quote(job.output.path());
    if (job.form == PackageForm::archive) { // for the library, which runs launchers there
        requireExecutable(job.output.parent(), "choose another directory for the output");
    }
    for (const auto& made : allOf(job)) {
        requireOthers(job.choices.show, made.output->path());
    }
    const HeldSignals signals;
    Signer signer;
    if (const int status = openSigner(signer, job.choices.manifest, job.inputs, signals, console);
        status != 0) {
        console.complain("interrupted; nothing was made");
        return status;
    }
    Report report(job.choices.show.report);
    openLog(console, job.choices.show, job.output.path(), &job.inputs);
    console.events().begin({identityOf(medium, "")});
    job.inputs.announce(console, "Making " + medium + " from");
    JobDirectory jobDirectory(job.output.parent());
    const int directory = jobDirectory.directory().number();
    const auto work = [&](Reporter& reporter) { return make(job, signer, reporter); };
    auto outcome =
        supervise({{medium, directory, work, gaugesOf(job.inputs, directory)}}, 1, signals, console).front();
    const auto size = sizeBelow(directory, kind.place);
    putInPlace(job, jobDirectory, outcome);
    if (outcome.status == 0 && isThere(job.earlierChecksum)) {
        console.note(quote(job.earlierChecksum) + " is of an earlier image");
    }
    keepIfWanted(job.choices, jobDirectory, console);
    const auto sum =
        job.checksum != nullptr ? ", its checksum in " + quote(job.checksum->path()) : std::string();
    report.append({{"output", job.output.path()}, {"size", size}}, outcome, sumsOf(job, outcome), console);
    return conclude(console, outcome, medium, sizeText(size) + readBackText(job.choices.verify) + sum);
}

} // namespace velacreate
