/// @file
/// Reads the arguments, and runs the chosen command.
#pragma once

#include "display/console.h"
#include "job/callerEnvironment.h"

namespace velacreate {

/// @return the exit status
/// @throw Refusal when the arguments are wrong; what the command throws
int runCommandLine(int argc, char** argv, const CallerEnvironment& caller, Console& console);

} // namespace velacreate
