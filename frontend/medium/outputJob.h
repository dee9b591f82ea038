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
    const Output* checksum; ///< null when none is wanted
    /// Where an earlier image may have left its checksum; empty when the checksum is made anew.
    std::string earlierChecksum;
    /// The library's workflow. It makes the output at its kind's place.
    std::function<int(VelaLoggerIfc&)> workflow;
};

/// @throw Refusal when a program is missing
void requireProgramsOf(const Kind& kind, const Toolkit& toolkit);

/// Makes the output, reads it back, and puts it in place.
/// @return the exit status
int makeOutput(const OutputJob& job, Console& console);

} // namespace velacreate
