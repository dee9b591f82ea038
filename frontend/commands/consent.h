/// @file
/// The question before a key is changed.
#ifndef VELACREATE_CONSENT_H
#define VELACREATE_CONSENT_H

#include "commands/commands.h"
#include "disks/keyHold.h"
#include "job/watcher.h"

namespace velacreate {

/// Shows the key, and asks unless the user has answered beforehand.
/// @return 0 when only "yes" was said; EXIT_INTERRUPTED after an interrupt
/// @throw Refusal after any other answer, or when nobody can be asked
int askForConsent(const KeyHold& key, const UsbChoices& choices, const HeldSignals& signals);

} // namespace velacreate

#endif
