#include "disks/fatVolume.h"

#include "disks/disks.h"
#include "disks/probe.h"
#include "forms/fatSectors.h"

#include <algorithm>
#include <array>
#include <linux/magic.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace velacreate {
namespace {
std::uint64_t bitsPerEntry(std::uint64_t clusters, bool isFat32) {
    return isFat32 ? 32 : clusters <= MOST_CLUSTERS_OF_FAT_12 ? 12 : 16;
}

/// @return 0 for an invalid boot sector
std::uint64_t capacity(const Sector& sector) {
    const auto numbers = numbersIn(sector);
    const auto& layout = numbers.layout;
    if (numbers.sectorSize == 0 || layout.clusterSectors == 0) {
        return 0;
    }
    const auto rootSectors = (layout.rootSize() + numbers.sectorSize - 1) / numbers.sectorSize;
    const auto dataStart = layout.reservedSectors + numbers.tables * layout.tableSectors + rootSectors;
    if (dataStart >= layout.sectors) {
        return 0;
    }
    const auto fitting = (layout.sectors - dataStart) / layout.clusterSectors;
    const auto entries =
        layout.tableSectors * numbers.sectorSize * 8 / bitsPerEntry(fitting, layout.isFat32());
    const auto clusters = std::min(fitting, entries - std::min<std::uint64_t>(entries, FIRST_CLUSTER));
    const std::uint64_t rootClusters = layout.isFat32() ? 1 : 0;
    return (clusters - std::min(clusters, rootClusters)) * layout.clusterSectors * numbers.sectorSize;
}
} // namespace

bool holdsFat(const Descriptor& disk, std::uint64_t offset) {
    const auto probe = probeOf(disk, offset);
    std::string type = "vfat";
    std::array<char*, 2> types = {type.data(), nullptr};
    return probe && blkid_probe_filter_superblocks_type(probe.get(), BLKID_FLTR_ONLYIN, types.data()) == 0 &&
           blkid_do_safeprobe(probe.get()) == 0;
}

std::uint64_t fatCapacity(const Descriptor& disk, std::uint64_t offset) {
    Sector sector{};
    const auto length = pread(disk.number(), sector.data(), sector.size(), static_cast<off_t>(offset));
    const bool isWhole = length == static_cast<ssize_t>(sector.size());
    return isWhole && holdsFat(disk, offset) ? capacity(sector) : 0;
}

bool isOnFat(const Descriptor& file, dev_t device) {
    struct statfs about {};
    return fstatfs(file.number(), &about) == 0 && about.f_type == MSDOS_SUPER_MAGIC &&
           file.status().st_dev == device;
}

} // namespace velacreate
