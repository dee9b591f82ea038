/// @file
/// The end of a key that was made: it can be pulled out.
#pragma once

#include "disks/disks.h"

namespace velacreate {

/// Turns off the USB port of a disk that is flushed and not mounted, as desktops do before they say that it
/// can be pulled out.
/// @throw Failure when it is not on USB, or when the port is also that of another medium
void powerDown(const Disk& disk);

} // namespace velacreate
