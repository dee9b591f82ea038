/// @file
/// The job of a key, in a process of its own.
#ifndef VELACREATE_FILLKEY_H
#define VELACREATE_FILLKEY_H

#include "commands/mediumJob.h"
#include "disks/disks.h"

#include <optional>
#include <string>

namespace velacreate {

struct KeyJob {
    const JobChoices& choices;
    const Inputs& inputs;
    const Descriptor& target; ///< the whole disk, or the image of a key in its place
    std::optional<Disk> disk; ///< of a key
    std::string imagePath;    ///< of an image
    std::string format;       ///< "always", "never" or "auto"
};

/// Fills the key, reads it back, and tells of it all.
/// @return the job's exit status
int fillKey(const KeyJob& job, Reporter& reporter);

} // namespace velacreate

#endif
