/// @file
/// A question before something that cannot be undone.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"

#include <string>

namespace velacreate {

/// Asks for a "yes".
/// @param allowed what it allows, such as "a key be changed", for the refusal when nobody can be asked
/// @param refused the refusal for any other answer; an answer such as "YES" gets a hint
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal also when the console is quiet
int askForYes(const HeldSignals& signals, const std::string& allowed, const std::string& refused,
              Console& console);

} // namespace velacreate
