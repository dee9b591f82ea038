/// @file
/// Names in a FAT directory.
#pragma once

#include <array>
#include <cstddef>
#include <set>
#include <string>

namespace velacreate {

/// @name Rules for long names
/// @{
constexpr std::size_t LONGEST_FAT_NAME = 255; ///< in units of UTF-16
constexpr const char* FORBIDDEN_IN_FAT_NAMES = "\"*/:<>?\\|";
constexpr const char* FORBIDDEN_AT_END_OF_FAT_NAMES = ". ";
/// @}

/// Eight characters and three, padded with blanks.
using FatShortName = std::array<unsigned char, 11>;

/// @return a text of at most eleven characters, padded
FatShortName shortNameOf(const std::string& text);

/// @return such as "GRUB.CFG"; "?" stands for what is not ASCII
std::string textOf(const FatShortName& name);

/// @return in UTF-8; "?" stands for what no name can hold, which is no match for any expected name
std::string textOf(const std::u16string& name);

/// Whether any system may write it: padded at the ends only, of characters that are allowed.
bool isShortName(const FatShortName& name);

/// Whether any system may write it.
bool isLongName(const std::u16string& name);

/// Whether the kernel's driver gives this short name to a long one, and writes both.
bool isFromLongName(const FatShortName& name, const std::u16string& longName);

/// @param name  in UTF-8
std::u16string longNameOf(const std::string& name);

/// Whether the short name is the whole name, in capitals.
bool fitsShortName(const std::u16string& name);

/// Whether the name is its short name.
bool needsNoLongName(const std::u16string& name);

/// @return a short name that the kernel could give to this one. It depends only on the names.
FatShortName newShortName(const std::u16string& name, const std::set<FatShortName>& taken);

/// The check sum that binds a long name to its short one.
unsigned char checkSum(const FatShortName& name);

} // namespace velacreate
