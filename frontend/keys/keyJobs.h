/// @file
/// Keys made side by side from what is taken in once.
#pragma once

#include "keys/fillKey.h"
#include "keys/keys.h"
#include "keys/report.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// One of them, and what is to be shown of it.
struct KeyTask {
    std::string medium; ///< such as "/dev/sdb"
    KeyTarget target;
    std::map<std::string, Gauge> gauges;       ///< by the stage
    std::function<void(const Outcome&)> ended; ///< told at once; may be null
};

/// Stages all files once, and makes the keys of them.
/// @param sums  set to the SHA-256 sum of each update file, by place, unless it is null
/// @return their outcomes, in order; when the staging has failed, each is that of the staging
std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, UpdateSums* sums);

} // namespace velacreate
