/// @file
/// What the jobs of one call have in common, from the staging of the files to the end of their directories.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/jobDirectory.h"
#include "job/reporter.h"
#include "job/supervisor.h"
#include "medium/jobInputs.h"

#include <functional>

namespace velacreate {

/// What a call works with when all has been checked.
struct Call {
    const JobChoices& choices;
    const Inputs& inputs;
    const NamedDirectory& place; ///< where its job directories lie
    const HeldSignals& signals;
    Console& console;
};

/// How the tool package stands in a job directory: as an archive for the library, or as the boot files that a
/// medium is compared with.
enum class PackageForm { archive, unpacked };

/// In the job's process: copies what a medium is made from into a job directory.
/// @throw Refusal or Failure when it is no longer what it was
void stageFiles(const Inputs& inputs, PackageForm form, const Descriptor& jobDirectory, Reporter& reporter);

/// Does that in a job of its own, for several media.
/// @param andThen  done last, in the same process; may be null
/// @return interrupted, also when it had just ended by itself
Outcome stageShared(const Call& call, PackageForm form, const JobDirectory& sharedStaging,
                    const std::function<void(const Descriptor& staged, Reporter& reporter)>& andThen);

/// In the job's process, which starts in its job directory: enters the library folder, which then is the
/// current directory, and shows the library's stages.
/// @return the job directory
Descriptor enterLibraryFolder(bool keepPauses, Reporter& reporter);

/// In the job's process: removes everything from the job directory but the output, so that the supervisor,
/// which has other media to look after, need not.
void tidyUp(const JobChoices& choices, const Descriptor& jobDirectory);

/// Keeps the job directory and names it, when the user wants it.
void keepIfWanted(const JobChoices& choices, JobDirectory& jobDirectory, Console& console);

} // namespace velacreate
