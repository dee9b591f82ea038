#include "keys/keyJobs.h"

#include "inputs/checksum.h"
#include "support/failure.h"

#include <deque>

#include <fcntl.h>

namespace velacreate {
namespace {
void sumUp(const UpdateFiles& updates, const Descriptor& staged, Reporter& reporter) {
    reporter.stage("Summing up the files");
    for (const auto& [place, entry] : updates.entries()) {
        if (!entry.isDirectory) {
            const auto file = openBeneath(staged.number(), place, O_RDONLY);
            check(file.isOpen()).orFail(quote(place));
            reporter.sum(place, sha256Of(file));
        }
    }
}
} // namespace

std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, UpdateSums* sums) {
    const Call& call = jobs.call;
    JobDirectory sharedStaging(call.place);
    const auto staged = stageShared(call, PackageForm::archive, sharedStaging,
                                    [&](const Descriptor& here, Reporter& reporter) {
                                        if (sums != nullptr) {
                                            sumUp(call.inputs.updates, here, reporter);
                                        }
                                    });
    if (staged.status != 0) {
        keepIfWanted(call.choices, sharedStaging, call.console);
        std::vector<Outcome> none(tasks.size(), staged);
        return none;
    }
    if (sums != nullptr) {
        *sums = staged.sums;
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
