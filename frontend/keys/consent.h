/// @file
/// The question that comes before a key is changed.
#pragma once

#include "choices.h"
#include "job/heldSignals.h"
#include "keys/keys.h"

#include <vector>

namespace velacreate {

/// Shows the keys, and asks for a "yes" unless the user has given it already.
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal on any other answer, or where nobody can be asked
int askForConsent(const std::vector<Key>& keys, const UsbChoices& choices, const HeldSignals& signals,
                  Console& console);

} // namespace velacreate
