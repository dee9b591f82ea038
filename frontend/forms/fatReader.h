/// @file
/// Examines a FAT file system.
#pragma once

#include "forms/examination.h"
#include "forms/fatBootSector.h"
#include "forms/otherFiles.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

/// Files that are not of the job.
struct KeptFiles {
    std::uint64_t files = 0;
    std::uint64_t bytes = 0; ///< not looked at
};

struct KeyFindings {
    KeptFiles kept;
    std::vector<std::string> notes; ///< what is no difference, such as a dirty bit
};

/// Demands the one form that mkfs.vfat and the kernel give to a file system with the expected files.
/// @param others  any system may have written their names
KeyFindings examineFat(const Examination& examination, const Tree& expected, const FatPlace& place,
                       OtherFiles others);

} // namespace velacreate
