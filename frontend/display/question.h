/// @file
/// The question that comes before something is done that cannot be undone.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"

#include <string>

namespace velacreate {

/// Asks for a "yes".
/// @param unasked  what is said where nobody can be asked
/// @param refused  what is said of any other answer
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal
int askForYes(const HeldSignals& signals, const std::string& unasked, const std::string& refused,
              Console& console);

} // namespace velacreate
