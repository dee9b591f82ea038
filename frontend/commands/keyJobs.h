/// @file
/// Keys made side by side from what is taken in once.
#pragma once

#include "commands/fillKey.h"
#include "commands/report.h"
#include "commands/scratch.h"

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// What the jobs of keys have in common.
struct KeyJobs {
    const UsbChoices& choices;
    const Inputs& inputs;
    const ScratchDirectory& scratch;
    const HeldSignals& signals;
    Console& console;
    bool isOnly; ///< whether no other key was named in this call
};

/// One of them, and what is to be shown of it.
struct KeyTask {
    std::string medium; ///< such as "/dev/sdb"
    KeyTarget target;
    std::map<std::string, Gauge> gauges;       ///< by the stage
    std::function<void(const Outcome&)> ended; ///< told at once; may be null
};

/// Takes everything in, and makes the keys of it.
/// @param sums  set to the SHA-256 sum of each update file, by place, unless it is null
/// @return their outcomes, in order; when taking in has failed, each is that
std::vector<Outcome> runKeyJobs(const KeyJobs& jobs, const std::vector<KeyTask>& tasks, UpdateSums* sums);

} // namespace velacreate
