/// @file
/// Writes an image to a key.
#pragma once

#include "disks/disks.h"
#include "job/reporter.h"
#include "keys/keyImage.h"
#include "support/descriptor.h"

namespace velacreate {

constexpr const char* STAGE_WRITING_IMAGE = "Writing the image";

/// In the job's process, in an empty directory: wipes what is on the key, writes the blocks of an image, and
/// reads them back if wanted.
/// @param held  the open disk
/// @return the exit status of the job
int writeKey(const KeyImage& image, const Disk& disk, const Descriptor& held, bool isReadBack,
             Reporter& reporter);

/// In such a process: compares a key with an image.
int compareWithKeyImage(const KeyImage& image, const Descriptor& held, JobKind kind, Reporter& reporter);

/// In such a process: whether a key is the same as an image. Differences are not reported.
bool isSameAsKeyImage(const KeyImage& image, const Descriptor& held, Reporter& reporter);

} // namespace velacreate
