/// @file
/// The list of a medium's files with their SHA-256 sums, which is on the medium itself.
#pragma once

#include "inputs/checksum.h"

#include <string>

namespace velacreate {

constexpr const char* MEDIUM_LIST = "medium.sha256";
constexpr const char* MEDIUM_SIGNATURE = "medium.sha256.minisig"; ///< made by minisign

/// Whether a path on a medium is that of the list or of its signature, in any case of letters.
bool isListName(const std::string& place);

/// @param sums  of all files of the medium but the list and its signature; no path may hold a backslash
/// @return the list, sorted, as "sha256sum -c" of GNU and of BusyBox reads it
std::string mediumListOf(const Sums& sums);

/// Reads a list that mediumListOf() can have made, and no other one.
/// @throw Untrusted with a sentence about "its list of sums"
Sums sumsIn(const std::string& list);

/// How long that list is, which does not depend on the sums.
/// @return in bytes
std::size_t sizeOfLine(const std::string& place);

} // namespace velacreate
