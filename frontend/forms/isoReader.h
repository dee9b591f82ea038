/// @file
/// The strict reader of ISO 9660 images and discs.
#pragma once

#include "forms/isoMedium.h"

#include <string>

namespace velacreate {

/// @return for which machines an image is, as seen from itself: it has an EFI boot record, or PowerPC
/// partitions
IsoPlatform platformOfImage(MediumBytes& medium);

/// A drive has more blocks behind a disc's volume.
enum class BehindVolume { nothing, anything };

/// Holds an image against the form that xorriso gives an EFI image, and genisoimage a PowerPC image.
/// @param expected  all files and directories; the reader knows itself that an EFI image has a boot catalog
/// @param platform  not none
/// @throw Failure when the medium or a source cannot be read
void examineIso(const Examination& examination, const Tree& expected, IsoPlatform platform,
                BehindVolume behind);

} // namespace velacreate
