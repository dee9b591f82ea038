/// @file
/// Ends the work on a key, so that it can be pulled out.
#pragma once

#include "disks/disks.h"

namespace velacreate {

/// Turns off the USB port of a disk that is flushed and not mounted.
/// @throw Failure when it is not on USB, or shares its port with another medium
void powerDown(const Disk& disk);

} // namespace velacreate
