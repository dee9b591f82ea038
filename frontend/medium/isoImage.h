/// @file
/// ISO 9660 images, by what they say of themselves.
#ifndef VELACREATE_ISOIMAGE_H
#define VELACREATE_ISOIMAGE_H

#include "support/descriptor.h"

#include <cstdint>

namespace velacreate {

/// @return how many bytes an image has that is whole, at the least; 0 when the file is no ISO 9660 image
std::uint64_t isoImageSize(const Descriptor& file);

} // namespace velacreate

#endif
