/// @file
/// The identifiers that the tools give to single names on ISO 9660.
#pragma once

#include "forms/isoDescriptors.h"

#include <cstddef>
#include <string>

namespace velacreate {

constexpr std::size_t LONGEST_ISO_STEM = 8; ///< with xorriso, in the primary tree
constexpr std::size_t LONGEST_ISO_EXTENSION = 3;
constexpr std::size_t LONGEST_POWER_PC_NAME = 31; ///< with genisoimage, in the primary tree
constexpr std::size_t LONGEST_JOLIET_NAME = 103;  ///< in units of UTF-16

/// How the tool read names beyond ASCII, which depends on the locale that it ran in.
enum class IsoCharset { utf8, bytes };

struct IsoName {
    std::string text;
    bool isDirectory;
};

/// What an entry is called where no other entry of the directory has the same identifier.
std::u16string isoIdentifier(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset, const IsoName& name);

/// The text by which genisoimage sorts the entries of a directory in the Joliet tree.
std::u16string jolietSortKey(IsoCharset charset, const IsoName& name);

/// @return the name up to the first ";"
std::u16string withoutVersion(std::u16string name);

} // namespace velacreate
