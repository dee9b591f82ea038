/// @file
/// What a medium cannot hold.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// Refuses names that FAT cannot hold unchanged: with one of "*:<>?|\ in them, with a blank or a dot at the
/// end of a part, with a part of more than 255 UTF-16 units, or not in UTF-8. Refuses two names that differ
/// only in case, also of letters beyond ASCII.
/// @param places all files and directories of the medium
void requireFatNames(const std::vector<std::string>& places);

/// Refuses a file of 4 GiB or more.
/// @param medium  for the message, such as "an ISO image" or "a FAT file system"
void requireFileSize(const std::string& place, std::uint64_t size, const std::string& medium);

/// Refuses a job for which there is too little free space.
/// @param directory  a directory of the file system
void requireSpace(const NamedDirectory& directory, std::uint64_t bytes);

} // namespace velacreate
