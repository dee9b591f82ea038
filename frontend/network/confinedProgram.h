/// @file
/// Programs without privileges.
#pragma once

#include "network/serverRoot.h"

#include <string>
#include <vector>

namespace velacreate {

/// In a job's process: becomes a program in a root directory of its own, as a user without privileges but
/// some capabilities. Its messages are in English.
/// @param command      the program's path and its arguments
/// @param descriptors  that it may have open at a time, if there can be so many
/// @throw Failure
[[noreturn]] void becomeConfined(const std::vector<std::string>& command, const ServerRoot& root,
                                 const std::vector<unsigned>& capabilities, unsigned descriptors);

/// Runs such a program without capabilities on one file.
/// @param arguments  before the file's name
/// @return the first 4 KiB of what it wrote; empty unless it ended in time, with exit status 0
/// @throw Failure
std::string outputOfConfined(const std::string& program, const std::vector<std::string>& arguments,
                             const Descriptor& file, const Descriptor& scratch);

} // namespace velacreate
