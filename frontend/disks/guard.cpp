#include "disks/guard.h"

#include "disks/inventory.h"
#include "disks/stacks.h"
#include "disks/sysfs.h"
#include "support/failure.h"
#include "support/texts.h"

#include <algorithm>
#include <array>
#include <filesystem>

namespace velacreate {
namespace {
/// Directories of the running system, in addition to "/". The last five are for live systems.
constexpr std::array SYSTEM_PLACES = {"/boot",        "/efi",      "/usr",  "/home",     "/var",
                                      "/opt",         "/srv",      "/nix",  "/run/live", "/run/initramfs",
                                      "/run/archiso", "/lib/live", "/cdrom"};

bool isOfSystem(const std::string& place) {
    return place == "/" ||
           std::any_of(SYSTEM_PLACES.begin(), SYSTEM_PLACES.end(), [&](const std::string& top) {
               return place == top || place.rfind(top + "/", 0) == 0;
           });
}

bool isRemovable(const Disk& disk) {
    const auto disks = removableDisks();
    return std::any_of(disks.begin(), disks.end(),
                       [&](const Disk& other) { return other.number == disk.number; });
}

/// @return a device mapper or RAID device on the disk or on one of its partitions; empty when there is none
std::string holder(const std::filesystem::path& directory) {
    for (const auto& above : entriesOf(directory / "holders")) {
        return above.filename();
    }
    for (const auto& part : entriesOf(directory)) {
        if (exists(part / "partition")) {
            if (auto name = holder(part); !name.empty()) {
                return name;
            }
        }
    }
    return "";
}

/// @return such as "ACME Disk 5, 20.0 GiB, GPT: ext4"
std::string textOf(const Disk& disk) {
    const auto about = describe(disk);
    const auto name = about.name();
    return name + (name.empty() ? "" : ", ") + sizeText(about.size) + ", " + contentOf(disk);
}

std::string usedBySystem(const Disk& disk) {
    for (const auto& mounted : mountsInUse()) {
        if (mounted.disks.count(disk.name) != 0 && isOfSystem(mounted.place)) {
            return "carries " + quote(mounted.place) + " of this machine";
        }
    }
    for (const auto& swap : swapInUse()) {
        if (swap.disks.count(disk.name) != 0) {
            return "carries swap space of this machine";
        }
    }
    return "";
}
} // namespace

std::string ineligibilityReason(const Disk& disk, bool anyDisk) {
    const auto directory = deviceDirectory(disk.number);
    if (isOpticalDrive(disk)) {
        return "is an optical drive; \"velacreate burn\" burns discs";
    }
    if (describe(disk).size == 0) {
        return "has no medium in it";
    }
    if (auto use = usedBySystem(disk); !use.empty()) {
        return use;
    }
    if (const auto name = holder(directory); !name.empty()) {
        return "is part of " + name + " (LVM, RAID or encryption)";
    }
    if (attribute(directory / "ro") == "1") {
        return "is read-only";
    }
    if (!anyDisk && !isRemovable(disk)) {
        return "is neither removable nor on USB: " + textOf(disk);
    }
    return "";
}

std::string lacksPartition(const Disk& disk) {
    return hasPartitionNode(disk, KEY_PARTITION) ? ""
                                                 : "has no fourth partition (" + disk.keyPartitionNode() +
                                                       "); --erase makes a key of any stick";
}

} // namespace velacreate
