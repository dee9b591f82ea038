/// @file
/// How velacreate ends: with 0, with the library's result code, or with a status of its own.
#pragma once

#include <string>

namespace velacreate {

constexpr int EXIT_REFUSED = 2;
constexpr int EXIT_DIFFERENT = 3;
constexpr int EXIT_UNFINISHED = 4;
constexpr int EXIT_INTERRUPTED = 130; ///< as shells report it

struct ExitStatus {
    int status;
    const char* meaning;  ///< in plain words, to follow a colon
    const char* nextStep; ///< what to do about it, as a sentence; may be empty
};

/// @return the entry of a status; one that says so for a status that is in no table
const ExitStatus& exitStatus(int status);

/// All of them, a line each.
std::string exitStatusTable();

} // namespace velacreate
