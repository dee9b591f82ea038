#include "medium/imageKinds.h"

#include "forms/isoDescriptors.h"

#include <mediaRules.h>

#include <string>

namespace velacreate {
namespace {
constexpr std::size_t BOOT_SECTOR = 512;
constexpr std::size_t SIGNATURE_PLACE = 510;
constexpr std::size_t FOURTH_TYPE_PLACE = 498;
constexpr std::size_t FAT_NAME_PLACE = 54;
constexpr std::size_t FAT32_NAME_PLACE = 82;

/// @return empty when there is no boot sector
std::string bootSectorAt(const Descriptor& file, std::uint64_t offset) {
    std::string sector(BOOT_SECTOR, '\0');
    const auto size = readAt(file.number(), sector.data(), sector.size(), offset);
    const bool isBootSector =
        size == static_cast<ssize_t>(BOOT_SECTOR) && sector.compare(SIGNATURE_PLACE, 2, "\x55\xaa") == 0;
    return isBootSector ? sector : "";
}

bool hasFourthPartition(const std::string& sector) {
    return !sector.empty() && sector[FOURTH_TYPE_PLACE] != '\0';
}

bool isOfFat(const std::string& sector) {
    return !sector.empty() &&
           (sector.compare(FAT_NAME_PLACE, 3, "FAT") == 0 || sector.compare(FAT32_NAME_PLACE, 3, "FAT") == 0);
}
} // namespace

bool isIsoImage(const Descriptor& file) {
    MediumBytes bytes(file, sizeOf(file));
    return isoVolumeSize(bytes) != 0;
}

bool isKeyImage(const Descriptor& file) {
    return !isIsoImage(file) && (hasFourthPartition(bootSectorAt(file, 0)) ||
                                 isOfFat(bootSectorAt(file, VelaCreation::KEY_IMAGE_OFFSET)));
}

} // namespace velacreate
