#include "disks/disks.h"

#include "disks/stacks.h"
#include "disks/sysfs.h"
#include "support/failure.h"
#include "support/texts.h"
#include "support/waiting.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <sstream>

#include <fcntl.h>
#include <sys/stat.h>

namespace velacreate {

namespace fs = std::filesystem;

namespace {
constexpr const char* OPTICAL_DRIVE = "5";
constexpr const char* SD_CARD = "SD";

bool isPlainWord(const std::string& name) {
    return !name.empty() && name.front() != '-' && isPlain(name, "_.-");
}

std::uint64_t sizeOf(const fs::path& directory) {
    const auto sectors = attribute(directory / "size");
    return sectors.empty() ? 0 : std::stoull(sectors) * SECTOR;
}

/// The kernel does not report a card in a built-in reader as removable. A soldered eMMC has another type.
bool holdsRemovable(const fs::path& directory) {
    return attribute(directory / "removable") == "1" || attribute(directory / "device/type") == SD_CARD;
}

bool isOptical(const fs::path& directory) {
    return attribute(directory / "device/type") == OPTICAL_DRIVE;
}

bool isRemovable(const fs::path& directory) {
    const bool isVirtual = directory.string().rfind("/sys/devices/virtual/", 0) == 0;
    return !isVirtual && !isOptical(directory) && sizeOf(directory) != 0 &&
           (holdsRemovable(directory) || !usbDevice(directory).empty());
}

/// A disk may report any text.
std::string asciiOnly(std::string text) {
    const auto isStrange = [](char letter) { return letter < ' ' || letter > '~'; };
    std::replace_if(text.begin(), text.end(), isStrange, '?');
    return text;
}

std::string firstOf(const std::vector<fs::path>& files) {
    for (const auto& file : files) {
        if (auto text = attribute(file); !text.empty()) {
            return asciiOnly(std::move(text));
        }
    }
    return "";
}
} // namespace

std::string Disk::partitionName(int partition) const {
    const bool endsInDigit = std::isdigit(static_cast<unsigned char>(name.back())) != 0;
    return name + (endsInDigit ? "p" : "") + std::to_string(partition);
}

std::string Disk::keyPartitionNode() const {
    return partitionNode(KEY_PARTITION);
}

Descriptor Disk::openKeyPartition() const {
    return Descriptor(open(keyPartitionNode().c_str(), O_RDONLY | O_CLOEXEC));
}

std::string DiskDescription::name() const {
    return vendor + (vendor.empty() || model.empty() ? "" : " ") + model;
}

Disk wholeDisk(const std::string& path) {
    struct stat about {};
    check(stat(path.c_str(), &about) == 0).orRefuse(quote(path));
    const auto number = blockDevice(path);
    refuseIf(number == 0, quote(path) + " is not a block device");
    const auto directory = deviceDirectory(number);
    refuseIf(!fs::exists(directory / "size") || fs::exists(directory / "partition"),
             quote(path) + " is not a whole disk");
    Disk disk{directory.filename(), number};
    refuseIf(!isPlainWord(disk.name) || blockDevice(disk.node()) != number,
             quote(path) + " has no node of its own right below '/dev'");
    return disk;
}

std::vector<Disk> removableDisks() {
    std::vector<Disk> disks;
    for (const auto& directory : diskDirectories()) {
        const std::string name = directory.filename();
        if (isPlainWord(name) && isRemovable(directory)) {
            disks.push_back({name, deviceNumber(directory)});
        }
    }
    std::sort(disks.begin(), disks.end(),
              [](const Disk& one, const Disk& other) { return one.name < other.name; });
    return disks;
}

Disk diskOf(dev_t number) {
    return {deviceDirectory(number).filename(), number};
}

bool isOpticalDrive(const Disk& disk) {
    return isOptical(deviceDirectory(disk.number));
}

bool isRemovableMedium(const Disk& disk) {
    return holdsRemovable(deviceDirectory(disk.number));
}

DiskDescription describe(const Disk& disk) {
    const auto directory = deviceDirectory(disk.number);
    const auto device = directory / "device";
    DiskDescription about;
    about.size = sizeOf(directory);
    about.model = firstOf({device / "model", device / "name"});
    // Without a model, the vendor is the number of a bus.
    about.vendor = fs::exists(device / "model") ? firstOf({device / "vendor"}) : "";
    about.serial = firstOf({device / "serial", directory / "serial"});
    if (const auto usb = usbDevice(directory); !usb.empty()) {
        about.serial = firstOf({usb / "serial"});
        about.port = "usb " + usb.filename().string();
    }
    return about;
}

bool isPulledOut(const Disk& disk) {
    const auto directory = deviceDirectory(disk.number);
    return becomesTrue(std::chrono::seconds(1), [&] { return !fs::exists(directory); });
}

Traffic trafficOf(const Disk& disk) {
    std::istringstream counts(attribute(deviceDirectory(disk.number) / "stat"));
    std::uint64_t other = 0;
    Traffic traffic{};
    counts >> other >> other >> traffic.read >> other >> other >> other >> traffic.written;
    return traffic;
}

dev_t partitionNumber(const Disk& disk, int partition) {
    return deviceNumber(deviceDirectory(disk.number) / disk.partitionName(partition));
}

bool hasPartitionNode(const Disk& disk, int partition) {
    const auto number = partitionNumber(disk, partition);
    return number != 0 && blockDevice(disk.partitionNode(partition)) == number;
}

std::uint64_t partitionSize(const Disk& disk, int partition) {
    return sizeOf(deviceDirectory(disk.number) / disk.partitionName(partition));
}

std::vector<MountedPlace> mountedPlaces(const Disk& disk) {
    std::vector<MountedPlace> places;
    for (const auto& mounted : mountsInUse()) {
        if (mounted.disks.count(disk.name) != 0) {
            places.push_back({mounted.place, mounted.device});
        }
    }
    return places;
}

std::string placesText(const std::vector<MountedPlace>& places) {
    std::string text;
    for (const auto& mounted : places) {
        text += (text.empty() ? "" : ", ") + mounted.place;
    }
    return text;
}

} // namespace velacreate
