/// @file
/// Learns the ports of a station.
#pragma once

#include "display/console.h"

#include <string>

namespace velacreate {

/// Asks for a stick in one slot after another, and writes a slots file until a signal comes. Nothing is
/// written to the sticks.
/// @throw Refusal when the file is there already or cannot be made
int learnSlots(const std::string& path, Console& console);

} // namespace velacreate
