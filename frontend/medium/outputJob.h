/// @file
/// The job of an image or of a network-boot directory.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/output.h"
#include "job/toolkit.h"
#include "medium/call.h"
#include "medium/jobInputs.h"

#include <bootableMedia.h>

#include <functional>
#include <string>

namespace velacreate {

/// Makes the output at its kind's place in the job directory, from the staged files.
/// @param sums  of the files, by their paths there, if they were worked out
using Workflow = std::function<int(const Descriptor& jobDirectory, const Sums& sums, Reporter& reporter)>;

struct OutputJob {
    const JobChoices& choices;
    const Inputs& inputs;
    const Output& output;
    const Output* blockMap; ///< null for a medium without one; the workflow makes it
    const Output* checksum; ///< null when none is wanted
    /// Where an earlier image may have left its checksum; empty when the checksum is made anew.
    std::string earlierChecksum;
    PackageForm form; ///< that the workflow takes
    Workflow workflow;
};

/// @param run  a workflow of the library, which runs the launchers
Workflow libraryWorkflow(const Toolkit& toolkit, const std::function<int(VelaLoggerIfc&)>& run);

/// @throw Refusal when a program is missing
void requireProgramsOf(const Kind& kind, const Toolkit& toolkit);

/// Makes the output, reads it back, and puts it in place.
/// @return the exit status
int makeOutput(const OutputJob& job, Console& console);

} // namespace velacreate
