/// @file
/// Limits of media and of sizes.
#pragma once

#include "support/descriptor.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// Larger than any disk. A few such sizes can be added without an overflow.
constexpr std::uint64_t LARGEST_SUM = std::uint64_t{1} << 60;

/// Adds two sizes of unknown origin, up to the largest sum.
constexpr std::uint64_t sumOf(std::uint64_t one, std::uint64_t other) {
    return std::min(std::min(one, LARGEST_SUM) + std::min(other, LARGEST_SUM), LARGEST_SUM);
}

/// @return the size of all entries of a map, added up like this
template <typename Entries>
std::uint64_t sizeOfAll(const Entries& entries) {
    std::uint64_t total = 0;
    for (const auto& [name, entry] : entries) {
        total = sumOf(total, entry.size);
    }
    return total;
}

/// Refuses names that FAT cannot hold unchanged: with one of "*:<>?|\ in them, with a control
/// character, with an empty part, with a blank or a dot at the end of a part, with a part of more than 255
/// UTF-16 units, or not in UTF-8. Refuses two names that differ only in case, also of letters beyond ASCII.
/// @param places  all files and directories of the medium
void requireFatNames(const std::vector<std::string>& places);

/// Refuses names that genisoimage cuts off in the Joliet tree: those that are not in UTF-8, or have a
/// character beyond U+FFFF. Refuses two names of a directory that become the same there.
/// @param places  all files and directories of the medium
void requireJolietNames(const std::vector<std::string>& places);

/// Refuses a file of 4 GiB or more.
/// @param medium  for the message, such as "an ISO image" or "a FAT file system"
void requireFileSize(const std::string& place, std::uint64_t size, const std::string& medium);

/// Refuses a directory on a file system from which no program can be started, as it is mounted with noexec.
/// @param advice  for the message, such as "choose another directory for the output"
void requireExecutable(const NamedDirectory& directory, const std::string& advice);

/// Refuses a job for which there is too little free space.
/// @param directory  a directory of the file system
void requireSpace(const NamedDirectory& directory, std::uint64_t bytes);

} // namespace velacreate
