#include "station/pluggedDisks.h"

#include "disks/sysfs.h"

#include <filesystem>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
/// @return such as "3-1.2 17"
std::string deviceText(const fs::path& usb) {
    return usb.filename().string() + " " + attribute(usb / "devnum");
}

/// @return empty when the disk has no USB device, or was pulled out
std::string identityOf(const Disk& disk) {
    const auto directory = deviceDirectory(disk.number);
    const auto usb = usbDevice(directory);
    return usb.empty() ? "" : deviceText(usb) + " " + attribute(directory / "diskseq");
}

void addPlugged(const Disk& disk, std::vector<PluggedDisk>& plugged) {
    if (auto identity = identityOf(disk); !identity.empty()) {
        auto port = identity.substr(0, identity.find(' '));
        plugged.push_back({disk, std::move(port), std::move(identity)});
    }
}
} // namespace

bool PluggedDisk::isThere() const {
    return identityOf(disk) == identity;
}

std::vector<PluggedDisk> pluggedDisks() {
    std::vector<PluggedDisk> plugged;
    for (const auto& disk : removableDisks()) {
        addPlugged(disk, plugged);
    }
    return plugged;
}

std::set<std::string> usbDevices() {
    std::set<std::string> devices;
    for (const auto& directory : entriesOf("/sys/bus/usb/devices")) {
        if (fs::exists(directory / "devnum")) {
            devices.insert(deviceText(directory));
        }
    }
    return devices;
}

std::set<std::string> devicesWithoutDisk() {
    auto devices = usbDevices();
    for (const auto& directory : diskDirectories()) {
        if (const auto usb = usbDevice(directory); !usb.empty()) {
            devices.erase(deviceText(usb));
        }
    }
    return devices;
}

std::vector<PluggedDisk> emptyReaders() {
    std::vector<PluggedDisk> readers;
    for (const auto& directory : diskDirectories()) {
        if (attribute(directory / "removable") == "1" && attribute(directory / "size") == "0") {
            addPlugged({directory.filename(), deviceNumber(directory)}, readers);
        }
    }
    return readers;
}

} // namespace velacreate
