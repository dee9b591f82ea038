/// @file
/// The marks of other file systems, RAIDs and partition tables on a key.
#pragma once

#include "forms/examination.h"

#include <cstdint>
#include <vector>

namespace velacreate {

/// Adds a difference where libblkid, firmware, a boot loader or a kernel would find something else than a
/// key's FAT file system. They look at certain places of the disk and of the partition, which may lie in free
/// space, or in the table of FAT.
/// @param partition  with the file system
/// @param known      where the bytes end that have been compared, or that will be overwritten
/// @param compared   what else has been compared with bytes that may have a mark
/// @throw Failure
void refuseForeignMarks(const Examination& examination, const ByteRange& partition, std::uint64_t known,
                        const std::vector<ByteRange>& compared = {});

} // namespace velacreate
