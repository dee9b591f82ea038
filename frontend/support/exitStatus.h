/// @file
/// Exit statuses: 0, the library's result codes, and the command's own.
#pragma once

#include <csignal>
#include <functional>
#include <string>

namespace velacreate {

constexpr int EXIT_REFUSED = 2;
constexpr int EXIT_DIFFERENT = 3;
constexpr int EXIT_UNFINISHED = 4;
constexpr int EXIT_UNTRUSTED = 5;
constexpr int EXIT_BY_SIGNAL = 128; ///< and the signal's number, as in shells
constexpr int EXIT_INTERRUPTED = EXIT_BY_SIGNAL + SIGINT;

/// Runs a function. A Refusal becomes EXIT_REFUSED, Untrusted EXIT_UNTRUSTED, another exception
/// EXIT_UNFINISHED.
/// @param tell  called with the exception's text
/// @return the function's result, or the status of its exception
int exitStatusAfter(const std::function<int()>& work, const std::function<void(const char* text)>& tell);

struct ExitStatus {
    int status;
    const char* meaning;  ///< follows a colon
    const char* nextStep; ///< a sentence; may be empty
};

/// @return the entry of a status; for an unknown status, an entry that says so
const ExitStatus& exitStatus(int status);

/// @return a line for each status
std::string exitStatusTable();

} // namespace velacreate
