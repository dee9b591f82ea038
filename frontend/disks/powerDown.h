/// @file
/// Ends the work on a key, so that it can be pulled out.
#pragma once

#include "disks/disks.h"

namespace velacreate {

/// Turns off the USB port of a disk that is flushed and not mounted.
/// @throw Failure when it was pulled out, is not on a USB port that can be reached from outside, shares its
/// port with another medium, or the kernel refuses
void powerDown(const Disk& disk);

} // namespace velacreate
