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

/// Keeps other jobs away from an image of a key.
/// @throw Refusal when another program has locked it
void lockKeyImage(const Descriptor& image, const std::string& name);

/// A key's FAT file system, mounted in the job's own mounts until this is destroyed.
class ReadOnlyMount {
public:
    /// @param source a node or a file
    /// @param options more mount options, each after a comma
    /// @throw Failure with mount's message
    explicit ReadOnlyMount(const std::string& source, const std::string& options = "");
    ~ReadOnlyMount();
    ReadOnlyMount(const ReadOnlyMount&) = delete;
    ReadOnlyMount& operator=(const ReadOnlyMount&) = delete;

    /// Opens its top directory.
    Descriptor open() const;
};

/// In the job's process, before it enters its job directory: opens an image again, in this process's own
/// mounts.
/// @return closed for a key
/// @throw Refusal when it has no mounts of its own; Failure
Descriptor openImageAgain(const KeyTarget& target);

/// @name In the job's process, in its job directory
/// @{

/// Puts the image where the job expects it.
/// @param image opened again
/// @return its path
std::string placeImage(const KeyTarget& target, const Descriptor& image);

/// An image must have been placed.
ReadOnlyMount mountToRead(const KeyTarget& target);
/// @}

} // namespace velacreate
