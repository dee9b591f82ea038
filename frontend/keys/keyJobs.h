/// @file
/// Makes several keys from one staging.
#pragma once

#include "keys/fillKey.h"
#include "keys/keys.h"
#include "medium/report.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// The job of one key.
struct KeyTask {
    std::string medium; ///< such as "/dev/sdb"
    KeyTarget target;
    std::map<std::string, Gauge> gauges;       ///< by stage
    std::function<void(const Outcome&)> ended; ///< called at once; may be null
};

/// Stages all files once, as an archive and its update files.
/// @param sums set to the sums of the tool package and the update files; may be null
/// @return the outcome of the staging
Outcome stageForKeys(const Call& call, const JobDirectory& sharedStaging, InputSums* sums);

/// The kernel's count of what is written to a key, for each stage of the library. It includes the flushing,
/// which would otherwise look like a standstill.
std::map<std::string, Gauge> gaugesOf(const Disk& disk, std::uint64_t expected);

/// Stages all files once, and makes the keys from them.
/// @param sums as for the staging
/// @return their outcomes, in order; each is that of the staging when that has failed
std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, InputSums* sums);

} // namespace velacreate
