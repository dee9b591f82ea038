/// @file
/// Examines a key, or the image of one: its boot record and its FAT file system.
#pragma once

#include "forms/fatReader.h"
#include "forms/keyRecord.h"

namespace velacreate {

/// Demands the one form that a key has when a clone image, mkfs.vfat and the kernel have made it.
/// @throw Failure when something cannot be read
KeyFindings examineKey(const Examination& examination, const Tree& expected, const KeyForm& form);

/// Adds a difference for each mark of something else than a key that is still there after formatting.
/// @throw Failure when something cannot be read
void refuseLeftovers(const Examination& examination, const ByteRange& partition);

} // namespace velacreate
