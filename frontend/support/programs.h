/// @file
/// The programs that velacreate itself needs, run without a shell.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

/// The one search path for everything that a job runs, whatever the caller's is.
constexpr const char* SEARCH_PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin";

struct ProgramResult {
    int status;         ///< its exit status; 127 when it could not be started
    std::string output; ///< what it wrote, standard error included
};

ProgramResult runProgram(const std::vector<std::string>& command);

/// @param what  for the message, such as "a key is mounted, which"
/// @throw Refusal "WHAT takes root's rights; ..." for any other user
void requireRoot(const std::string& what);

/// Refuses to go on when one of the programs is not on the search path, and names its Debian package.
void requirePrograms(const std::vector<const char*>& names);

} // namespace velacreate
