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
};

/// The commands that this process has run so far.
std::vector<Command>& commands();

#endif
