/// @file
/// Tells the image of a key from an ISO image.
#pragma once

#include "support/descriptor.h"

namespace velacreate {

/// Whether a file has an ISO 9660 volume descriptor.
bool isIsoImage(const Descriptor& file);

/// Whether a file has a boot record with a fourth partition, or a FAT boot sector where an image of a key has
/// one, and is no ISO image.
bool isKeyImage(const Descriptor& file);

} // namespace velacreate
