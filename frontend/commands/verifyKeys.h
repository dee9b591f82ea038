/// @file
/// Keys made earlier, compared with what would be made now.
#pragma once

#include "commands/commands.h"
#include "commands/scratch.h"

namespace velacreate {

/// The keys that were named, side by side.
/// @return the exit status
int verifyKeys(const VerifyChoices& choices, const ScratchDirectory& scratch);

/// The image of a key.
int verifyKeyImage(const VerifyChoices& choices, const ScratchDirectory& scratch);

} // namespace velacreate
