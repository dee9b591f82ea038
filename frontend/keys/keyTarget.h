/// @file
/// The key, or the image of a key, that a job fills or reads.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

#include <optional>
#include <string>

namespace velacreate {

/// A key, or the image of one in its place.
struct KeyTarget {
    const Descriptor& open;   ///< the whole disk, or the image
    std::optional<Disk> disk; ///< none for an image
    std::string imagePath;    ///< empty for a key
};

/// In the job's process, before it enters its job directory: opens an image again, in this process's own
/// mounts.
/// @return closed for a key
/// @throw Refusal when it has no mounts of its own; Failure
Descriptor openImageAgain(const KeyTarget& target);

/// In the job's process, in its job directory: puts the image where the job expects it.
/// @param image opened again
/// @return its path
std::string placeImage(const KeyTarget& target, const Descriptor& image);

} // namespace velacreate
