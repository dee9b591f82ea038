/// @file
/// Makes the bytes of FAT directories.
#pragma once

#include "forms/fatDirectory.h"

#include <ctime>
#include <vector>

namespace velacreate {

/// Makes a directory as the kernel writes it, in the order of its entries.
/// @param entries  without short names
/// @param time  of all its entries, which then hold it in UTC; from 1980 to 2107
std::vector<unsigned char> fatDirectoryOf(const FatDirectoryForm& form, const std::vector<FatEntry>& entries,
                                          std::time_t time);

} // namespace velacreate
