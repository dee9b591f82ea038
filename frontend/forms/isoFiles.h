/// @file
/// The files of an ISO 9660 volume.
#pragma once

#include "forms/isoTree.h"

#include <vector>

namespace velacreate {

/// Claims the blocks of all files that were found, and compares their content.
/// @param emptyBlock  the place of empty files; none where they have the place of the next file
void examineIsoFiles(IsoMedium& medium, const std::vector<IsoNode>& nodes,
                     std::optional<std::uint32_t> emptyBlock);

} // namespace velacreate
