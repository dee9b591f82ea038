/// @file
/// How the tools number entries of a directory that would have the same identifier on ISO 9660.
#pragma once

#include "forms/isoIdentifiers.h"

#include <set>
#include <string>
#include <vector>

namespace velacreate {

struct IsoIdentifier {
    std::u16string text;
    bool isDirectory;
};

/// Numbers identifiers that are the same, as xorriso does. Only the names decide about the numbers.
/// @param identifiers  of one directory, in order of the names
void numberLikeXorriso(IsoTreeKind kind, std::vector<IsoIdentifier>& identifiers);

/// Whether genisoimage can have given an entry an identifier. Which entries it numbers, and in what order,
/// depends on the order in which it found the files.
/// @param plain  what the entry is called without a number; when it is numbered, another entry is called so
/// @param all    collidingPart() of all identifiers of the directory
bool isFromGenisoimage(const std::u16string& identifier, const std::u16string& plain,
                       const std::multiset<std::u16string>& all);

/// What genisoimage compares of identifiers: all but a version.
std::u16string collidingPart(const std::u16string& identifier);

} // namespace velacreate
