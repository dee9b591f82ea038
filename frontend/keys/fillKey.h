/// @file
/// The job of one key.
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
    const Descriptor& staged;       ///< of the shared staging
    const Descriptor& jobDirectory; ///< opened by the supervisor: links work within one mount only
    KeyTarget target;

    const Inputs& inputs() const { return all.call.inputs; }
};

/// Fills the key, and reads it back.
/// @return the exit status of the job
int fillKey(const KeyJob& job, Reporter& reporter);

} // namespace velacreate
