/// @file
/// The job of a key, in a process of its own.
#ifndef VELACREATE_FILLKEY_H
#define VELACREATE_FILLKEY_H

#include "commands/keyTarget.h"
#include "commands/mediumJob.h"

namespace velacreate {

struct KeyJob {
    const UsbChoices& choices;
    const Inputs& inputs;
    const Descriptor& stock;     ///< the directory of what was taken in
    const Descriptor& workplace; ///< as the watcher opened it: files are linked within one mount only
    KeyTarget target;
    bool isOfOne; ///< whether no other key was named in this call
};

/// Fills the key, reads it back, and tells of it all.
/// @return the job's exit status
int fillKey(const KeyJob& job, Reporter& reporter);

} // namespace velacreate

#endif
