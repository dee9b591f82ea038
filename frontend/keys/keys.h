/// @file
/// The keys that a call is about.
#pragma once

#include "choices.h"
#include "disks/diskLock.h"
#include "disks/disks.h"
#include "medium/jobInputs.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// A key that was named or found, held from now on, and what is known of it.
struct Key {
    Disk disk;
    DiskDescription about;
    std::optional<DiskLock> lock; ///< unless it is not to be made
    std::string ineligibility;    ///< a sentence that says why not; empty when it is
    bool isForKeys;               ///< whether the guard lets it be made a key at all
};

/// Those that were named, in their order, each looked at by the guard; or every removable medium that the
/// guard takes, the others being named on standard output.
/// @throw Refusal when one that was named is no disk or was named twice, when one alone is not to be made, or
/// when there is no removable medium for a key
std::vector<Key> chooseKeys(const UsbChoices& choices, const Inputs& inputs, Console& console);

/// @return the disks that paths name
/// @throw Refusal when one is none, or was named twice
std::vector<Disk> namedDisks(const std::vector<std::string>& paths);

/// Whether it is still to be made.
inline bool isSelected(const Key& key) {
    return key.ineligibility.empty();
}

std::size_t countSelected(const std::vector<Key>& keys);

/// "the key /dev/sdb", or "2 keys".
std::string mediaText(const std::vector<Key>& keys);

/// Of several, each has its line in the table.
/// @throw Refusal when there is but one, and it is not to be made
void requireSelectedIfAlone(const std::vector<Key>& keys);

/// Unmounts what is mounted of those that are to be made; one with a place that is busy is not made.
/// @throw Refusal when there is but this one
void unmountKeys(std::vector<Key>& keys);

/// Refuses files that do not fit.
/// @param medium  for the message, such as "partition 4 of /dev/sdb"
void requireFitting(const Contents& contents, std::uint64_t capacity, const std::string& medium);

/// @param size  of a key, in bytes
/// @return the name of its clone image in the tool package
std::string cloneImageFor(std::uint64_t size);

} // namespace velacreate
