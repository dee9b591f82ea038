/// @file
/// What must be on a medium.
#pragma once

#include "inputs/updateFiles.h"
#include "medium/kinds.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// One file or directory that must be on a medium.
struct Part {
    std::string
        source; ///< where its bytes are, relative to the job directory: "boot/grub.cfg", or an update's place
    std::uint64_t size;
    bool isDirectory;
};

/// All that must be there, by the path on the medium.
using Tree = std::map<std::string, Part>;

struct Contents {
    Tree tree;                         ///< on the medium; of a package, in its archive
    Tree besideArchive;                ///< of a package: the boot files beside the archive
    std::vector<std::string> added;    ///< by the tool that makes an image, such as "boot.catalog"
    std::vector<std::string> replaced; ///< update files that stand in the place of a boot file
    std::vector<std::string> missing;  ///< of a package: boot files of the nine that the tool package lacks

    std::uint64_t size() const; ///< of all files
};

/// What the library's workflow for the medium makes of a tool package and update files: the boot files, less
/// what this medium goes without, overlaid by the update files.
/// @throw Refusal when an update file would be kept off the medium or removed from it again (it is named), or
/// stands where the package has a directory, or the other way round; when two of the package's or both
/// together collide
Contents contentsOf(MediumKind medium, const ToolPackage& package, const UpdateFiles& updates);

} // namespace velacreate
