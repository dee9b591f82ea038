/// @file
/// Supervises jobs from outside.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "job/jobSource.h"
#include "job/mediumJob.h"

#include <vector>

namespace velacreate {

/// Runs jobs side by side, each in a process of its own, and shows their progress. An interrupt ends them
/// all; while a disc is burned, only the second one does.
/// @param atOnce  how many run at a time
/// @return their outcomes, in order
std::vector<Outcome> supervise(const std::vector<MediumJob>& jobs, std::size_t atOnce,
                               const HeldSignals& signals, Console& console);

/// The same for jobs that come while others run. Ctrl-C closes the source, if it can be closed; the next one
/// ends all jobs, as other signals do at once.
void supervise(JobSource& source, std::size_t atOnce, const HeldSignals& signals, Console& console);

} // namespace velacreate
