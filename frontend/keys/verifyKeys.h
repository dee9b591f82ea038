/// @file
/// Compares keys with what would be made now.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "medium/listComparison.h"
#include "support/descriptor.h"

#include <string>
#include <vector>

namespace velacreate {

/// Compares the named keys side by side.
/// @return the exit status
int verifyKeys(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console);

/// Compares the named keys with the lists of sums on them, side by side.
/// @return the exit status
int compareKeysWithLists(const std::vector<std::string>& devices, const ListCall& call);

/// Compares the image of a key in the same way.
int compareKeyImageWithList(const std::string& keyImage, const ListCall& call);

/// Compares the named keys with the image that was written to them, side by side.
/// @return the exit status
int compareKeysWithImage(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console);

/// Compares the image of a key.
int verifyKeyImage(const VerifyChoices& choices, const NamedDirectory& scratch, Console& console);

} // namespace velacreate
