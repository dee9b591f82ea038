/// @file
/// The volume descriptors of ISO 9660.
#pragma once

#include "forms/isoMedium.h"

#include <cstdint>

namespace velacreate {

enum class IsoTreeKind { primary, joliet };

/// Where one directory tree of a volume begins. Not yet compared with the volume's size.
struct IsoRoot {
    IsoTreeKind kind;
    std::uint32_t block; ///< of the top directory
    std::uint32_t size;  ///< of the top directory, in bytes
    std::uint32_t pathTableSize;
    std::uint32_t littleEndianTable; ///< the block of a path table
    std::uint32_t bigEndianTable;
};

struct IsoVolume {
    IsoRoot primary;
    IsoRoot joliet;
    std::uint32_t bootCatalog; ///< its block
};

constexpr std::uint32_t ISO_FIRST_DESCRIPTOR = 16;
constexpr std::uint32_t ISO_BEHIND_DESCRIPTORS = 20;

/// @return the volume's size in blocks, as its descriptor tells; 0 when there is none
std::uint32_t isoVolumeSize(MediumBytes& medium);

/// Whether the second descriptor is a boot record of El Torito, as in an image for UEFI.
/// @param medium  has room for all descriptors
bool hasIsoBootRecord(MediumBytes& medium);

/// Holds the descriptors against their form, and claims them.
IsoVolume examineIsoDescriptors(IsoMedium& medium);

} // namespace velacreate
