/// @file
/// A question before something that cannot be undone.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// Asks for a "yes".
/// @param allowed what it allows, such as "a key be changed", for the refusal when nobody can be asked
/// @param refused the refusal for any other answer; an answer such as "YES" gets a hint
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal also when the console is quiet
int askForYes(const HeldSignals& signals, const std::string& allowed, const std::string& refused,
              Console& console);

/// @param what  such as "the pass phrase of 'x.key'", for the message
/// @throw Refusal when nobody can type it
void requireTypist(const std::string& what, const Console& console);

/// Asks for a pass phrase, which is not shown while it is typed, and keeps nothing of it.
/// @param to  gets it, with a line feed
/// @return 0, or EXIT_INTERRUPTED
int askForPassPhrase(const HeldSignals& signals, const std::string& question, const Descriptor& to,
                     Console& console);

} // namespace velacreate
