// The library's commands, run for real and remembered; its pauses take no time here.
#ifndef VELACREATION_BENCH_COMMANDS_H
#define VELACREATION_BENCH_COMMANDS_H

#include <string>
#include <vector>

struct Command {
    std::string directory;
    std::string text;
    int status;
    double seconds;
    double ownProcessorSeconds; ///< of this process, for starting the shell and taking the command down
};

/// The commands that this process has run so far.
std::vector<Command>& commands();

/// What this process has used so far. The kernel is asked each time, so that a tracer sees by these calls,
/// two a command, where commands begin and end.
double ownProcessorSeconds();

#endif
