#include "keys/keys.h"

#include "disks/guard.h"
#include "disks/stacks.h"
#include "inputs/addedFiles.h"
#include "support/descriptor.h"
#include "support/texts.h"

#include <algorithm>
#include <set>
#include <utility>

namespace velacreate {

namespace {
/// The advice comes last, and only when --any-disk would help.
std::string reasonAgainst(const Disk& disk, bool anyDisk) {
    const auto reason = ineligibilityReason(disk, anyDisk);
    const bool isOnlyFixed = !reason.empty() && ineligibilityReason(disk, true).empty();
    return reason + (isOnlyFixed ? ". If this is really the disk you mean, add --any-disk" : "");
}

Key examined(const Disk& disk, bool anyDisk, const std::vector<NeededFiles>& needed,
             const std::function<void(const Key&)>& requireUsable) {
    Key key{disk, describe(disk), std::nullopt, "", false};
    try {
        refuseFor(disk, reasonAgainst(disk, anyDisk));
        refuseFor(disk, reasonOfNeed(disk, needed));
        key.isForKeys = true;
        key.lock.emplace(disk);
        requireUsable(key);
    } catch (const Refusal& refusal) {
        leaveOut(key, refusal);
    }
    return key;
}

std::vector<Disk> removableMedia() {
    auto disks = removableDisks();
    disks.erase(
        std::remove_if(disks.begin(), disks.end(), [](const Disk& disk) { return !isRemovableMedium(disk); }),
        disks.end());
    refuseIf(disks.empty(), "there is no removable medium; a USB hard disk has to be named");
    return disks;
}

void leaveOutForeign(ChosenKeys& chosen, Console& console) {
    std::vector<Key> examined;
    std::swap(examined, chosen.keys);
    for (auto& key : examined) {
        if (!key.isForKeys) {
            console.say("Left out: " + key.ineligibility);
        }
        (key.isForKeys ? chosen.keys : chosen.leftOut).push_back(std::move(key));
    }
    refuseIf(chosen.keys.empty(), "there is no removable medium for a key; a USB hard disk has to be named");
}
} // namespace

std::vector<Disk> namedDisks(const std::vector<std::string>& paths) {
    std::vector<Disk> disks;
    for (const auto& path : paths) {
        const auto disk = wholeDisk(path);
        if (std::any_of(disks.begin(), disks.end(),
                        [&](const Disk& other) { return other.number == disk.number; })) {
            throw Refusal(disk.node() + " is named twice");
        }
        disks.push_back(disk);
    }
    return disks;
}

void refuseFor(const Disk& disk, const std::string& reason) {
    refuseIf(!reason.empty(), disk.node() + " " + reason);
}

void leaveOut(Key& key, const Refusal& refusal) {
    key.ineligibility = refusal.what();
    key.lock.reset();
}

Table tableOfKeys(std::vector<std::string> columns) {
    columns.insert(columns.begin(), {"Port", "Key", SERIAL_NUMBER});
    return Table(columns);
}

std::vector<std::string> cellsOf(const Key& key, std::vector<std::string> cells) {
    cells.insert(cells.begin(), {key.about.port, key.disk.node(), key.about.serial});
    return cells;
}

std::size_t countSelected(const std::vector<Key>& keys) {
    return static_cast<std::size_t>(std::count_if(keys.begin(), keys.end(), isSelected));
}

std::string mediaText(const std::vector<Key>& keys) {
    return keys.size() == 1 ? "the key " + keys.front().disk.node() : counted(countSelected(keys), "key");
}

void requireSelectedIfAlone(const std::vector<Key>& keys) {
    if (keys.size() == 1 && !isSelected(keys.front())) {
        throw Refusal(keys.front().ineligibility);
    }
}

std::vector<NeededFiles> neededFiles(std::initializer_list<std::pair<const char*, std::string>> paths,
                                     const ShowChoices& choices) {
    std::vector<NeededFiles> files;
    for (const auto& [kind, path] : paths) {
        if (!path.empty()) {
            files.push_back({std::string(kind) + " " + quote(path), {futurePath(path)}});
        }
    }
    for (const auto& file : addedFiles(choices)) {
        files.push_back({file.name(), {futurePath(file.path)}});
    }
    return files;
}

// The files would be lost, or keep the disk busy.
std::string reasonOfNeed(const Disk& disk, const std::vector<NeededFiles>& files) {
    for (const auto& [text, paths] : files) {
        if (disksBelow(paths).count(disk.name) != 0) {
            return "carries " + text + ", which must lie on another disk";
        }
    }
    return "";
}

ChosenKeys chooseKeys(const KeyChoices& choices, const std::vector<NeededFiles>& files,
                      const std::function<void(const Key&)>& requireUsable, Console& console) {
    ChosenKeys chosen;
    for (const auto& disk : choices.all ? removableMedia() : namedDisks(choices.devices)) {
        chosen.keys.push_back(examined(disk, choices.anyDisk, files, requireUsable));
    }
    if (choices.all) {
        leaveOutForeign(chosen, console);
    }
    requireSelectedIfAlone(chosen.keys);
    return chosen;
}

void unmountKeys(std::vector<Key>& keys) {
    for (auto& key : keys) {
        try {
            if (isSelected(key)) {
                key.lock->unmount();
            }
        } catch (const Refusal& refusal) {
            leaveOut(key, refusal);
        }
    }
    requireSelectedIfAlone(keys);
}

} // namespace velacreate
