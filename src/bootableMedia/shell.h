// The one place where commands are run.
#ifndef VELACREATION_SHELL_H
#define VELACREATION_SHELL_H

#include <string>

namespace VelaCreation {

struct Removal;

/// Runs a command as it stands; true when it succeeds.
bool run(const std::string& command);

/// The command with its output sent to the capture file.
std::string captured(const std::string& command);

/// Runs a command with its output sent to the capture file; true when it succeeds.
bool runCaptured(const std::string& command);

/// The command that removes a name from a directory.
std::string removalCommand(const Removal& removal, const std::string& directory);

/// The path between double quotes.
std::string inQuotes(const std::string& path);

} // namespace VelaCreation

#endif
