#include "medium/isoImage.h"

#include "forms/isoDescriptors.h"
#include "support/failure.h"

namespace velacreate {

void requireWholeIsoImage(const Descriptor& file, const std::string& path) {
    const auto size = sizeOf(file);
    MediumBytes bytes(file, size);
    const auto whole = isoVolumeSize(bytes) * std::uint64_t{ISO_BLOCK};
    refuseIf(whole == 0, quote(path) + " is no ISO 9660 image");
    refuseIf(size < whole, quote(path) + " is incomplete: it has " + std::to_string(size) + " bytes of " +
                               std::to_string(whole));
}

} // namespace velacreate
