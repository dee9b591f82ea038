/// @file
/// The path tables of ISO 9660.
#pragma once

#include "forms/isoTree.h"

#include <vector>

namespace velacreate {

/// Holds the two path tables of a tree against its directories, and claims them.
void examineIsoPathTables(IsoMedium& medium, const IsoRoot& root,
                          const std::vector<IsoListedDirectory>& directories);

} // namespace velacreate
