/// @file
/// The strict reader of zip archives.
#pragma once

#include "forms/examination.h"

namespace velacreate {

/// Accepts an archive as Debian's zip 3.0 writes it at its usual level, at a fast one or without deflating:
/// the members without a gap, the directory of them in the same order, the end record, and nothing else.
/// @param expected  files and directories, each of which must be a member
/// @throw Failure when the archive or a source cannot be read
void examineZip(const Examination& examination, const Tree& expected);

} // namespace velacreate
