/// @file
/// The job of a key, in a process of its own.
#pragma once

#include "keys/keyTarget.h"
#include "medium/call.h"

namespace velacreate {

/// What the jobs of keys have in common.
struct KeyJobs {
    const Call& call;
    const UsbChoices& choices;
    bool isOnly; ///< whether no other key was named in this call
};

struct KeyJob {
    const KeyJobs& all;
    const Descriptor& staged;       ///< the directory of the shared staging
    const Descriptor& jobDirectory; ///< as the supervisor opened it: files are linked within one mount only
    KeyTarget target;

    const Inputs& inputs() const { return all.call.inputs; }
};

/// Fills the key, reads it back, and tells of it all.
/// @return the job's exit status
int fillKey(const KeyJob& job, Reporter& reporter);

} // namespace velacreate
