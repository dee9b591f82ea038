// Builds and runs shell commands.
#ifndef VELACREATION_SHELL_H
#define VELACREATION_SHELL_H

#include <string>

namespace VelaCreation {

struct Removal;

/// @return whether the command succeeded
bool run(const std::string& command);

/// @return the command with its output redirected to the capture file
std::string captured(const std::string& command);

bool runCaptured(const std::string& command);

std::string removalCommand(const Removal& removal, const std::string& directory);

/// @return the path in double quotes
std::string inQuotes(const std::string& path);

} // namespace VelaCreation

#endif
