/// @file
/// The question before keys are changed.
#pragma once

#include "job/heldSignals.h"
#include "keys/keys.h"

#include <string>
#include <vector>

namespace velacreate {

/// Shows the keys and what is lost on them, and asks for "yes".
/// @param isAgreed  whether it need not ask
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal for any other answer, or when nobody can be asked
int askForConsent(const std::vector<Key>& keys, const std::string& loss, bool isAgreed,
                  const HeldSignals& signals, Console& console);

/// @return what is lost when keys are erased
std::string lossByErasing(const std::vector<Key>& keys);

} // namespace velacreate
