/// @file
/// The boot sector and the other reserved sectors of a FAT file system.
#pragma once

#include "forms/byteMap.h"
#include "forms/examination.h"
#include "forms/fatLayout.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

struct FatPlace {
    ByteRange range;
    bool isFilled; ///< up to the last whole track of the file system's own geometry
    bool mayLackLabel;
};

/// Demands the reserved sectors as mkfs.vfat and the kernel write them.
/// @param notes  takes what is no difference, such as a dirty bit
/// @return none, after a difference was added, when the rest cannot be examined
std::optional<FatLayout> examineFatBootSector(const Examination& examination, const FatPlace& place,
                                              std::vector<std::string>& notes);

} // namespace velacreate
