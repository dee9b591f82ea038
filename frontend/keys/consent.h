/// @file
/// The question before keys are changed.
#pragma once

#include "choices.h"
#include "job/heldSignals.h"
#include "keys/keys.h"

#include <vector>

namespace velacreate {

/// Shows the keys, and asks for "yes" unless --yes is given.
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal for any other answer, or when nobody can be asked
int askForConsent(const std::vector<Key>& keys, const UsbChoices& choices, const HeldSignals& signals,
                  Console& console);

} // namespace velacreate
