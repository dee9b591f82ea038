/// @file
/// The marks of other file systems and partition tables on a key.
#pragma once

#include "forms/examination.h"

#include <cstdint>
#include <vector>

namespace velacreate {

/// Adds a difference where firmware, a boot loader or a kernel would find something else than the FAT file
/// system. They look at fixed places of the disk and of the partition, which may lie in free space, or in the
/// table of FAT.
/// @param fileSystem  its offset; what lies before it has been compared
/// @param compared  what else has been compared with bytes that may have a mark
void refuseForeignMarks(const Examination& examination, std::uint64_t fileSystem,
                        const std::vector<ByteRange>& compared = {});

} // namespace velacreate
