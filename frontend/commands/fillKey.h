/// @file
/// The job of a key, in a process of its own.
#pragma once

#include "commands/keyTarget.h"
#include "commands/mediumJob.h"

namespace velacreate {

struct KeyJob {
    const UsbChoices& choices;
    const Inputs& inputs;
    const Descriptor& staged;       ///< the directory of what was taken in
    const Descriptor& jobDirectory; ///< as the supervisor opened it: files are linked within one mount only
    KeyTarget target;
    bool isOnly; ///< whether no other key was named in this call
};

/// Fills the key, reads it back, and tells of it all.
/// @return the job's exit status
int fillKey(const KeyJob& job, Reporter& reporter);

} // namespace velacreate
