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
        source; ///< of its bytes, below the job directory: "boot/grub.cfg", or the place of an update file
    std::uint64_t size;
    bool isDirectory;
    std::string sum = {}; ///< SHA-256, in the place of a source
};

/// By the path on the medium.
using Tree = std::map<std::string, Part>;

std::uint64_t sizeOf(const Tree& tree); ///< of all files

/// @param sums  by the sources of files
/// @return those of all files of a tree but a list and its signature, by their places
Sums sumsByPlace(const Tree& tree, const Sums& sums);

/// The list of sums that a medium is to have.
struct WantedList {
    bool isWanted = false;
    std::uint64_t signatureSize = 0; ///< in bytes; 0 when it is not signed
};

struct Contents {
    Tree tree;                         ///< on the medium, or in the archive of a network-boot directory
    Tree besideArchive;                ///< of a network-boot directory
    std::vector<std::string> replaced; ///< update files in the place of a boot file
    std::vector<std::string> missing; ///< boot files for a network-boot directory that the tool package lacks

    std::uint64_t size() const; ///< of all files

    /// What a list of sums names, together with the archive of a network-boot directory.
    const Tree& listed() const { return besideArchive.empty() ? tree : besideArchive; }
    Tree& listed() { return besideArchive.empty() ? tree : besideArchive; }
    bool haveList() const;
};

/// What the library's workflow makes of a tool package and update files: the boot files without those that
/// are removed, overlaid by the update files.
/// @param list  added to what it lists
/// @throw Refusal when an update file would not stay on the medium, when a file and a directory have the same
/// place, when two names collide, when a name is that of a list or its signature, or when a list cannot hold
/// a name
Contents contentsOf(MediumKind medium, const ToolPackage& package, const UpdateFiles& updates,
                    const WantedList& list = {});

} // namespace velacreate
