/// @file
/// From the arguments to a command and the user's choices for it.
#ifndef VELACREATE_COMMANDLINE_H
#define VELACREATE_COMMANDLINE_H

#include "job/cleanStart.h"

namespace velacreate {

/// Runs the command that the arguments name, or shows help.
/// @return the exit status
/// @throw Refusal when the arguments make no sense; what the command throws
int runCommandLine(int argc, char** argv, const Surroundings& surroundings);

} // namespace velacreate

#endif
