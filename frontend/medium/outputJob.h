/// @file
/// The job of an image or of a network-boot directory.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/output.h"
#include "job/toolkit.h"
#include "medium/jobInputs.h"

#include <bootableMedia.h>

#include <functional>
#include <string>

namespace velacreate {

struct OutputJob {
    const JobChoices& choices;
    const Inputs& inputs;
    const Toolkit& toolkit;
    const Output& output;
    const Output* checksum; ///< of the output; null when none is to be made
    std::string note;       ///< said when the output is in place; may be empty
    /// The library's workflow, which makes the output at its kind's place below the job directory.
    std::function<int(VelaLoggerIfc&)> workflow;
};

/// Refuses a call for which a program is missing that the job runs.
void requireProgramsOf(const Kind& kind, const Toolkit& toolkit);

/// Runs the job, reads back what it has made, and puts that in place.
/// @return the exit status
int makeOutput(const OutputJob& job, Console& console);

} // namespace velacreate
