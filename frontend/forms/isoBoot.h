/// @file
/// What a machine starts from on ISO 9660.
#pragma once

#include "forms/isoMedium.h"

namespace velacreate {

constexpr std::uint32_t ISO_PADDING = 150; ///< blocks at the end of a volume

/// The boot catalog for EFI.
std::string isoBootCatalog(const IsoExtent& file);

/// The first block, with the partitions that a PowerPC machine looks for: the whole image for CHRP, and the
/// loader for PReP.
/// @param blocks  of the volume
std::string isoPowerPcPartitions(const IsoExtent& loader, std::uint32_t blocks);

/// Whether a block has such partitions.
bool isPowerPcTable(std::string_view block);

} // namespace velacreate
