#include "keys/keyJobs.h"

#include <deque>

namespace velacreate {

Outcome stageForKeys(const Call& call, const JobDirectory& sharedStaging, const Signer& signer,
                     InputSums* sums) {
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
    auto staged = stageShared(call, sharedStaging, stage);
    if (staged.status == 0 && sums != nullptr) {
        *sums = inputSumsOf(staged);
    }
    return staged;
}

std::map<std::string, Gauge> gaugesOf(const Disk& disk, std::uint64_t expected) {
    const Gauge written{expected, [disk](pid_t /*job*/) { return trafficOf(disk).written * SECTOR; }};
    std::map<std::string, Gauge> gauges;
    for (const auto& stage : kindOf(MediumKind::key).stages) {
        gauges[stage.text] = written;
    }
    return gauges;
}

std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, const Signer& signer,
                                InputSums* sums) {
    const Call& call = jobs.call;
    JobDirectory sharedStaging(call.place);
    const auto staged = stageForKeys(call, sharedStaging, signer, sums);
    if (staged.status != 0) {
        keepIfWanted(call.choices, sharedStaging, call.console);
        std::vector<Outcome> none(tasks.size(), staged);
        return none;
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
