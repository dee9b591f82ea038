/// @file
/// Names for machines.
#pragma once

#include <map>
#include <string>

namespace velacreate {

/// By hardware addresses such as "52:54:00:00:00:01", in small letters.
using MachineNames = std::map<std::string, std::string>;

/// Reads a file with a hardware address, blanks and a name on each line. Empty lines, and lines that begin
/// with "#", are left out.
/// @throw Refusal with the number of a line that is wrong
MachineNames readMachineNames(const std::string& path);

} // namespace velacreate
