/// @file
/// What the jobs of one call have in common.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/jobDirectory.h"
#include "job/reporter.h"
#include "job/supervisor.h"
#include "medium/jobInputs.h"
#include "medium/report.h"

#include <functional>

namespace velacreate {

/// The checked parts of a call.
struct Call {
    const JobChoices& choices;
    const Inputs& inputs;
    const NamedDirectory& place; ///< parent of the job directories
    const HeldSignals& signals;
    Console& console;
};

/// The form of the tool package in a job directory: an archive for the library, or boot files to compare
/// with.
enum class PackageForm { archive, unpacked };

/// In the job's process: copies the tool package and the update files into a job directory.
/// @throw Refusal or Failure when they have changed
void stageFiles(const Inputs& inputs, PackageForm form, const Descriptor& jobDirectory, Reporter& reporter);

/// In the job's process: sends the sums of the tool package and of the update files.
/// @param staged  the job directory
/// @throw Refusal or Failure
void sumUpInputs(const Inputs& inputs, const Descriptor& staged, Reporter& reporter);

/// @return the sums that it has sent; empty where there are none
InputSums inputSumsOf(const Outcome& outcome);

/// Stages the files in a job of its own, for several media.
/// @param andThen called last, in the same process; may be null
/// @return interrupted, also when the job had just ended
Outcome stageShared(const Call& call, PackageForm form, const JobDirectory& sharedStaging,
                    const std::function<void(const Descriptor& staged, Reporter& reporter)>& andThen);

/// In the job's process, in its job directory: makes the library folder the current directory, and shows the
/// library's stages.
/// @return the job directory
Descriptor enterLibraryFolder(bool keepPauses, Reporter& reporter);

/// In the job's process: removes everything but the output, so that the supervisor need not.
void tidyUp(const JobChoices& choices, const Descriptor& jobDirectory);

/// With --keep, keeps the job directory and shows its path.
void keepIfWanted(const JobChoices& choices, JobDirectory& jobDirectory, Console& console);

} // namespace velacreate
