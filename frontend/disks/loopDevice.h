/// @file
/// A part of a file as a block device.
#pragma once

#include "forms/byteMap.h"
#include "support/descriptor.h"

namespace velacreate {

/// The kernel frees the device when it is closed and not mounted.
/// @param file  open for reading and writing
/// @throw Failure
Descriptor attachLoopDevice(const Descriptor& file, const ByteRange& part);

} // namespace velacreate
