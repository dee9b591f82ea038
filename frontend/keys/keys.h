/// @file
/// The keys of a call.
#pragma once

#include "choices.h"
#include "disks/diskLock.h"
#include "disks/disks.h"
#include "display/console.h"
#include "display/table.h"
#include "support/failure.h"

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
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

/// What a job needs while it changes keys.
struct NeededFiles {
    std::string text;               ///< for messages, such as "the log file 'log'"
    std::vector<std::string> paths; ///< absolute and without links; the files may be missing
};

/// The files to which the job appends, and others.
/// @param paths  with the kind of each file, such as "the image"; an empty path is left out
std::vector<NeededFiles> neededFiles(std::initializer_list<std::pair<const char*, std::string>> paths,
                                     const ShowChoices& choices);

/// @return why a disk carries such a file, such as "carries the log file 'log', which must lie on another
/// disk"; empty when it carries none
std::string reasonOfNeed(const Disk& disk, const std::vector<NeededFiles>& files);

/// The named keys in their order, or all removable media. Media that are left out are shown. A disk with a
/// file that the job needs is not selected.
/// @param requireUsable  called with each key that is locked; throws a Refusal when it cannot be changed
/// @throw Refusal when a path names no disk or a disk twice, when the only key is not selected, or when there
/// is no removable medium
ChosenKeys chooseKeys(const KeyChoices& choices, const std::vector<NeededFiles>& files,
                      const std::function<void(const Key&)>& requireUsable, Console& console);

/// @throw Refusal when a path names no disk, or a disk twice
std::vector<Disk> namedDisks(const std::vector<std::string>& paths);

/// Whether the key is to be made.
inline bool isSelected(const Key& key) {
    return key.ineligibility.empty();
}

/// Refuses a disk.
/// @param reason  follows its name; empty when there is none
void refuseFor(const Disk& disk, const std::string& reason);

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

} // namespace velacreate
