/// @file
/// The keys of a call.
#pragma once

#include "choices.h"
#include "disks/diskLock.h"
#include "disks/disks.h"
#include "display/table.h"
#include "medium/jobInputs.h"
#include "support/failure.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// A key, locked from now on.
struct Key {
    Disk disk;
    DiskDescription about;
    std::optional<DiskLock> lock; ///< none when the key is not selected
    std::string ineligibility;    ///< why it is not selected; empty when it is
    bool isForKeys;               ///< whether the guard allows this disk
};

struct ChosenKeys {
    std::vector<Key> keys;
    std::vector<Key> leftOut; ///< of all removable media, those that the guard does not allow
};

/// The named keys in their order, or all removable media. Media that are left out are shown. A disk with a
/// file that the job needs is not selected.
/// @param scratch  the parent of the job directories
/// @throw Refusal when a path names no disk or a disk twice, when the only key is not selected, or when there
/// is no removable medium
ChosenKeys chooseKeys(const UsbChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                      Console& console);

/// @throw Refusal when a path names no disk, or a disk twice
std::vector<Disk> namedDisks(const std::vector<std::string>& paths);

/// Whether the key is to be made.
inline bool isSelected(const Key& key) {
    return key.ineligibility.empty();
}

/// The key is no longer selected, and no longer locked.
void leaveOut(Key& key, const Refusal& refusal);

constexpr const char* SERIAL_NUMBER = "Serial number";

/// A table with a row for each key: its port, name and serial number first.
/// @param columns behind these
Table tableOfKeys(std::vector<std::string> columns);
std::vector<std::string> cellsOf(const Key& key, std::vector<std::string> cells);

std::size_t countSelected(const std::vector<Key>& keys);

/// @return "the key /dev/sdb", or "2 keys"
std::string mediaText(const std::vector<Key>& keys);

/// Several keys are refused in a table.
/// @throw Refusal when there is only one key, and it is not selected
void requireSelectedIfAlone(const std::vector<Key>& keys);

/// Unmounts the selected keys. A busy key is no longer selected.
/// @throw Refusal when it is the only key
void unmountKeys(std::vector<Key>& keys);

/// Refuses a tool package whose clone image cannot be fitted to a key.
void requireFittable(const ToolPackage& package, const std::string& cloneImage);

/// Refuses files that do not fit.
/// @param medium  for the message, such as "partition 4 of /dev/sdb"
void requireFitting(const Contents& contents, std::uint64_t capacity, const std::string& medium);

/// @param size of a key, in bytes
/// @return the clone image's name in the tool package
std::string cloneImageFor(std::uint64_t size);

} // namespace velacreate
