#include "medium/imageKinds.h"

#include "disks/fatVolume.h"
#include "forms/fields.h"
#include "forms/isoDescriptors.h"

#include <mediaRules.h>

#include <algorithm>

namespace velacreate {
namespace {
/// Whether a file has a boot record with a fourth partition.
bool hasFourthPartition(const Descriptor& file) {
    Sector record{};
    const auto size = readAt(file.number(), record.data(), record.size(), 0);
    return size == static_cast<ssize_t>(record.size()) && record[FOURTH_TYPE_FIELD] != 0 &&
           std::equal(SIGNATURE.begin(), SIGNATURE.end(), record.begin() + SIGNATURE_FIELD);
}
} // namespace

bool isIsoImage(const Descriptor& file) {
    MediumBytes bytes(file, sizeOf(file));
    return isoVolumeSize(bytes) != 0;
}

bool isKeyImage(const Descriptor& file) {
    return !isIsoImage(file) && (hasFourthPartition(file) || holdsFat(file, VelaCreation::KEY_IMAGE_OFFSET));
}

} // namespace velacreate
