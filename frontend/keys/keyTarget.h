/// @file
/// The key, or the image of a key, that a job fills or reads.
#pragma once

#include "disks/disks.h"
#include "forms/byteMap.h"
#include "support/descriptor.h"

#include <optional>

namespace velacreate {

/// A key, or the image of one in its place.
struct KeyTarget {
    const Descriptor& open;   ///< the whole disk, or the image
    std::optional<Disk> disk; ///< none for an image
    ByteRange fileSystem{};   ///< in an image
};

} // namespace velacreate
