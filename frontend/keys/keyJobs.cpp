#include "keys/keyJobs.h"

#include <deque>

namespace velacreate {

Outcome stageForKeys(const Call& call, const JobDirectory& sharedStaging, InputSums* sums) {
    auto staged = stageShared(call, PackageForm::archive, sharedStaging,
                              [&](const Descriptor& here, Reporter& reporter) {
                                  if (sums != nullptr) {
                                      sumUpInputs(call.inputs, here, reporter);
                                  }
                              });
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

std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, InputSums* sums) {
    const Call& call = jobs.call;
    JobDirectory sharedStaging(call.place);
    const auto staged = stageForKeys(call, sharedStaging, sums);
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
