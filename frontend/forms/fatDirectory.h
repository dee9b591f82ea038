/// @file
/// The entries of a FAT directory.
#pragma once

#include "forms/otherFiles.h"
#include "forms/variation.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velacreate {

struct FatEntry {
    std::string name;
    /// The same as the name, but for small letters, when there is no other. Its bytes follow when it has
    /// letters of a code page, as the text does not tell those apart.
    std::string shortName;
    bool isDirectory = false;
    std::uint32_t cluster = 0; ///< 0 when there is none
    std::uint32_t size = 0;
};

struct FatDirectoryForm {
    bool isTop = false;
    bool hasLabel = false; ///< the top directory
    bool isFat32 = false;
    OtherFiles others = OtherFiles::none; ///< any system may have written their entries
    std::uint32_t cluster = 0;
    std::uint32_t parent = 0; ///< 0 for the top directory
};

struct FatDirectoryReports {
    std::function<void(std::size_t entry, const std::string& problem)> fault;
    std::function<void(Variation variation, std::size_t offset, std::size_t size)>
        variation; ///< may be empty
};

/// Demands the bytes of a directory as the kernel writes them.
/// @return the entries of files and directories but for "." and "..", also of those with some faults
std::vector<FatEntry> readFatDirectory(const std::vector<unsigned char>& bytes, const FatDirectoryForm& form,
                                       const FatDirectoryReports& reports);

} // namespace velacreate
