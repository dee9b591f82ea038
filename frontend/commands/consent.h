/// @file
/// The questions that come before something is done that cannot be undone.
#ifndef VELACREATE_CONSENT_H
#define VELACREATE_CONSENT_H

#include "commands/commands.h"
#include "commands/keys.h"
#include "job/watcher.h"

#include <string>
#include <vector>

namespace velacreate {

/// Asks for a "yes".
/// @param unasked  what is said where nobody can be asked
/// @param refused  what is said of any other answer
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal
int askForYes(const HeldSignals& signals, const std::string& unasked, const std::string& refused);

/// Shows the keys, and asks for a "yes" unless the user has given it already.
/// @return 0, or EXIT_INTERRUPTED
/// @throw Refusal on any other answer, or where nobody can be asked
int askForConsent(const std::vector<Key>& keys, const UsbChoices& choices, const HeldSignals& signals);

} // namespace velacreate

#endif
