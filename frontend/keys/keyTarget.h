/// @file
/// What a job works on that fills or reads a key.
#pragma once

#include "disks/disks.h"
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

/// The FAT file system of a key, mounted in a job's own mounts for as long as this lives.
class ReadOnlyMount {
public:
    /// @param source   a device's node, or a file
    /// @param options  further ones, each with a comma in front
    /// @throw Failure, with mount's own words
    explicit ReadOnlyMount(const std::string& source, const std::string& options = "");
    ~ReadOnlyMount();
    ReadOnlyMount(const ReadOnlyMount&) = delete;
    ReadOnlyMount& operator=(const ReadOnlyMount&) = delete;

    /// Opens its top.
    Descriptor open() const;
};

/// @name In the job's process, when it has entered its job directory
/// @{

/// Lets the image stand where the job finds it.
/// @param image  opened again
/// @return its path there
std::string placeImage(const KeyTarget& target, const Descriptor& image);

/// The image must stand there already.
ReadOnlyMount mountToRead(const KeyTarget& target);
/// @}

} // namespace velacreate
