#include "deviceGuard.h"

#include "consoleLogger.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <memory>
#include <mntent.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/types.h>

namespace velacreate {

namespace {

const fs::path DISKS = "/sys/block";

std::string firstWord(const fs::path& file) {
    std::ifstream stream(file);
    std::string word;
    stream >> word;
    return word;
}

/// Adds the whole disks under a kernel device, such as a partition or a device mapper volume over several.
void addDisksUnder(const fs::path& sysfs, std::set<std::string>& disks) {
    std::error_code error;
    bool hasSlaves = false;
    for (const auto& slave : fs::directory_iterator(sysfs / "slaves", error)) {
        hasSlaves = true;
        addDisksUnder(fs::canonical(slave), disks);
    }
    if (fs::exists(sysfs / "partition")) {
        disks.insert(sysfs.parent_path().filename());
    } else if (!hasSlaves) {
        disks.insert(sysfs.filename());
    }
}

/// The whole disks under a block device node, or under the file system that anything else is on.
std::set<std::string> disksUnder(const std::string& path) {
    struct stat about {};
    if (stat(path.c_str(), &about) != 0) {
        return {};
    }
    const dev_t device = S_ISBLK(about.st_mode) ? about.st_rdev : about.st_dev;
    std::error_code error;
    const auto sysfs = fs::canonical(
        "/sys/dev/block/" + std::to_string(major(device)) + ":" + std::to_string(minor(device)), error);
    std::set<std::string> disks;
    if (!error) {
        addDisksUnder(sysfs, disks);
    }
    return disks;
}

std::set<std::string> swapDisks() {
    std::ifstream swaps("/proc/swaps");
    std::set<std::string> disks;
    std::string line;
    std::getline(swaps, line);
    while (std::getline(swaps, line)) {
        disks.merge(disksUnder(line.substr(0, line.find_first_of(" \t"))));
    }
    return disks;
}

bool isRemovableOrUsb(const std::string& disk) {
    const auto sysfs = fs::canonical(DISKS / disk);
    const std::string opticalDrive = "5";
    return firstWord(sysfs / "device/type") != opticalDrive &&
           (firstWord(sysfs / "removable") == "1" || sysfs.string().find("/usb") != std::string::npos);
}

} // namespace

std::vector<Mount> mounts() {
    std::vector<Mount> all;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> table(setmntent("/proc/self/mounts", "r"),
                                                                endmntent);
    if (!table) {
        throw Refusal("/proc/self/mounts cannot be read");
    }
    while (const mntent* entry = getmntent(table.get())) { // NOLINT(concurrency-mt-unsafe)
        const std::string source = entry->mnt_fsname;
        std::set<std::string> disks;
        if (source.rfind("/dev/", 0) == 0) {
            disks = disksUnder(fs::exists(source) ? source : entry->mnt_dir);
        }
        all.push_back({disks, entry->mnt_dir});
    }
    return all;
}

std::string mountedPlaces(const std::string& disk) {
    std::string places;
    for (const auto& mount : mounts()) {
        if (mount.disks.count(disk) != 0) {
            places += (places.empty() ? "" : ", ") + mount.place;
        }
    }
    return places;
}

std::vector<std::string> removableDisks() {
    std::vector<std::string> disks;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(DISKS, error)) {
        if (isRemovableOrUsb(entry.path().filename())) {
            disks.push_back(entry.path().filename());
        }
    }
    std::sort(disks.begin(), disks.end());
    return disks;
}

fs::path wholeDisk(const std::string& device) {
    auto node = existing(device);
    struct stat about {};
    if (stat(node.c_str(), &about) != 0 || !S_ISBLK(about.st_mode)) {
        throw Refusal(shown(device) + " is not a block device");
    }
    const auto number = std::to_string(major(about.st_rdev)) + ":" + std::to_string(minor(about.st_rdev));
    if (firstWord(DISKS / node.filename() / "dev") != number) {
        throw Refusal(shown(device) + " is not a whole disk");
    }
    return node;
}

VelaCreation::_USBDATA describe(const fs::path& device) {
    ConsoleLogger logger(false, "");
    VelaCreation::_USBDATA about;
    VelaCreation::BootableUSB(logger).getUSBData(device, &about);
    return about;
}

void requireKey(const fs::path& device, bool anyDisk) {
    const std::string disk = device.filename();
    if (!anyDisk && !isRemovableOrUsb(disk)) {
        throw Refusal(shown(device) + " is neither removable nor on USB (--any-disk lets it)");
    }
    for (const auto& mount : mounts()) {
        const bool isSystem =
            mount.place == "/" || isWithin(mount.place, "/boot") || isWithin(mount.place, "/efi");
        if (isSystem && mount.disks.count(disk) != 0) {
            throw Refusal(shown(device) + " carries " + shown(mount.place) + " of this machine");
        }
    }
    if (swapDisks().count(disk) != 0) {
        throw Refusal(shown(device) + " carries swap space of this machine");
    }
    if (firstWord(DISKS / disk / "ro") == "1") {
        throw Refusal(shown(device) + " is read-only");
    }
    if (!fs::is_block_file(device.string() + "4")) {
        throw Refusal(shown(device) + " has no fourth partition, " + device.string() + "4");
    }
}

} // namespace velacreate
