#include "keys/keyJobs.h"

#include "inputs/names.h"
#include "support/failure.h"

#include <deque>

#include <fcntl.h>

namespace velacreate {
namespace {
/// The tool package has the name that no update file can have.
void reportSums(const Inputs& inputs, const Sums& ofFiles, Reporter& reporter) {
    reporter.stage("Summing up the package");
    reporter.sum(PACKAGE_NAME, inputs.description ? inputs.description->package : inputs.package.sum());
    for (const auto& [place, entry] : inputs.updates.entries()) {
        if (!entry.isDirectory) {
            reporter.sum(place, ofFiles.at(place));
        }
    }
}
} // namespace

std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, const Signer& signer,
                                InputSums* sums) {
    const Call& call = jobs.call;
    JobDirectory sharedStaging(call.place);
    const auto stage = [&](const Descriptor& here, Reporter& reporter) {
        const auto& contents = call.inputs.contents;
        Sums ofFiles;
        const bool areWanted = sums != nullptr || contents.haveList();
        stageFiles(call.inputs, PackageForm::archive, here, areWanted ? &ofFiles : nullptr, reporter);
        if (contents.haveList()) {
            writeMediumList(sumsByPlace(contents.tree, ofFiles), signer, here);
        }
        if (sums != nullptr) {
            reportSums(call.inputs, ofFiles, reporter);
        }
    };
    const auto staged = stageShared(call, sharedStaging, stage);
    if (staged.status != 0) {
        keepIfWanted(call.choices, sharedStaging, call.console);
        std::vector<Outcome> none(tasks.size(), staged);
        return none;
    }
    if (sums != nullptr) {
        sums->updates = staged.sums;
        sums->package = sums->updates.extract(PACKAGE_NAME).mapped();
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
    const auto atOnce = jobs.choices.keys.jobs != 0 ? jobs.choices.keys.jobs : tasks.size();
    auto outcomes = supervise(mediumJobs, atOnce, call.signals, call.console);
    for (auto& jobDirectory : jobDirectories) {
        keepIfWanted(call.choices, jobDirectory, call.console); // in the order of the keys
    }
    return outcomes;
}

} // namespace velacreate
