/// @file
/// What a finished medium may have that is not compared. docs/trust.md tells why.
#pragma once

#include "forms/byteMap.h"

#include <functional>

namespace velacreate {

enum class Variation {
    timeStamp,
    serialNumber,   ///< of a FAT file system
    diskSignature,  ///< of a key's boot record
    toolVersion,    ///< the version texts of the tools that make media
    owner,          ///< owners, groups, numbers of inodes and of links
    mode,           ///< but for setuid and sticky, and setgid of files
    textMark,       ///< of zip: whether a file looks like text
    fatGeometry,    ///< heads, sectors per track, hidden sectors
    freeSpaceHints, ///< of FAT 32
    dirtyBit,       ///< the two kinds of FAT
    keptFile,       ///< of a key that was not formatted; not of the job
    freeSpace,      ///< nothing refers to it
};

/// Called with all bytes that a reader does not compare.
using ReportVariation = std::function<void(Variation variation, const ByteRange& range)>;

} // namespace velacreate
