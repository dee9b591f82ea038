/// @file
/// What a job works on that fills or reads a key.
#pragma once

#include "disks/disks.h"
#include "job/readOnlyMount.h"
#include "support/descriptor.h"

#include <optional>
#include <string>

namespace velacreate {

/// A key, or the image of one in its place.
struct KeyTarget {
    const Descriptor& open;   ///< the whole disk, or the image
    std::optional<Disk> disk; ///< of a key
    std::string imagePath;    ///< of an image
};

/// @name In the job's process, when it has entered its job directory
/// @{

/// Lets the image stand where the job finds it.
/// @param image  opened again
/// @return its path there
std::string placeImage(const KeyTarget& target, const Descriptor& image);

/// An image is to stand there already.
ReadOnlyMount mountToRead(const KeyTarget& target);
/// @}

} // namespace velacreate
