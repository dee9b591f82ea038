/// @file
/// Runs programs without a shell.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// The search path of all jobs, whatever the caller's is.
constexpr const char* SEARCH_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

/// @return the path of a program; empty when it is missing
std::string pathOf(const std::string& program, const char* searchPath = SEARCH_PATH);

struct ProgramResult {
    int status;         ///< 127 when it could not be started
    std::string output; ///< standard output and standard error
};

/// Waits for the end of a child process.
/// @return its exit status, or EXIT_BY_SIGNAL and the signal's number
/// @throw Failure
int exitStatusOf(pid_t process);

/// @return what an exec function takes, valid as long as the command
std::vector<char*> argumentsOf(const std::vector<std::string>& command);

ProgramResult runProgram(const std::vector<std::string>& command);

/// @param what  for the message, such as "a key is mounted, which"
/// @throw Refusal "WHAT takes root's rights; ..." for any other user
void requireRoot(const std::string& what);

/// @throw Refusal with the Debian package of a missing program
void requirePrograms(const std::vector<const char*>& names, const char* searchPath = SEARCH_PATH);

} // namespace velacreate
