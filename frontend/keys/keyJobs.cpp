#include "keys/keyJobs.h"

#include "inputs/checksum.h"
#include "inputs/jobNames.h"
#include "support/failure.h"

#include <deque>
#include <fstream>

#include <fcntl.h>

namespace velacreate {

namespace {

const std::string SUMS = std::string(LIBRARY_FOLDER) + "/sums";

void writeSums(const UpdateFiles& updates, const Descriptor& staged) {
    std::ofstream sums(SUMS);
    for (const auto& [place, entry] : updates.entries()) {
        if (!entry.isDirectory) {
            const auto file = openBeneath(staged.number(), place, O_RDONLY);
            sums << sha256Of(file) << place << '\n';
        }
    }
    if (!sums.flush()) {
        throw Failure("the sums of the update files cannot be kept");
    }
}

UpdateSums readSums(const Descriptor& staged) {
    constexpr std::size_t LENGTH = 64; // of a sum
    UpdateSums sums;
    const auto file = openBeneath(staged.number(), SUMS, O_RDONLY);
    std::ifstream lines(file.path());
    if (!file.isOpen() || !lines) {
        throw Failure("the sums of the update files were not kept");
    }
    for (std::string line; std::getline(lines, line);) {
        sums[line.substr(LENGTH)] = line.substr(0, LENGTH);
    }
    return sums;
}

} // namespace

std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, UpdateSums* sums) {
    const Call& call = jobs.call;
    JobDirectory sharedStaging(call.place);
    const auto staged = stageShared(call, PackageForm::archive, sharedStaging,
                                    [&](const Descriptor& here, Reporter& reporter) {
                                        if (sums != nullptr) {
                                            reporter.stage("Summing up the files");
                                            writeSums(call.inputs.updates, here);
                                        }
                                    });
    if (staged.status != 0) {
        keepIfWanted(call.choices, sharedStaging, call.console);
        return std::vector<Outcome>(tasks.size(), staged); // NOLINT(modernize-return-braced-init-list)
    }
    if (sums != nullptr) {
        *sums = readSums(sharedStaging.directory());
    }

    std::deque<JobDirectory> jobDirectories;
    std::vector<MediumJob> mediumJobs;
    for (const auto& task : tasks) {
        const auto& jobDirectory = jobDirectories.emplace_back(call.place).directory();
        const KeyJob job{jobs, sharedStaging.directory(), jobDirectory, task.target};
        mediumJobs.push_back({task.medium, jobDirectory.number(),
                              [job](Reporter& reporter) { return fillKey(job, reporter); }, task.gauges,
                              task.ended});
    }
    const auto atOnce = jobs.choices.jobs != 0 ? jobs.choices.jobs : tasks.size();
    auto outcomes = supervise(mediumJobs, atOnce, call.signals, call.console);
    for (auto& jobDirectory : jobDirectories) {
        keepIfWanted(call.choices, jobDirectory, call.console); // in the order of the keys
    }
    return outcomes;
}

} // namespace velacreate
