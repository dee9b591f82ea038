/// @file
/// From the arguments to a command and the user's choices for it.
#pragma once

#include "display/console.h"
#include "job/callerEnvironment.h"

namespace velacreate {

/// Runs the command that the arguments name, or shows help.
/// @return the exit status
/// @throw Refusal when the arguments make no sense; what the command throws
int runCommandLine(int argc, char** argv, const CallerEnvironment& caller, Console& console);

} // namespace velacreate
