/// @file
/// Writes files into an empty FAT 32 file system.
#pragma once

#include "forms/fatDirectory.h"
#include "forms/fatLayout.h"
#include "medium/contents.h"
#include "support/descriptor.h"

#include <cstdint>
#include <ctime>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// A FAT 32 file system as mkfs.vfat makes it, with files as the kernel writes them: one after the other, in
/// the order of their paths.
class FatWriter {
public:
    /// Plans where everything lies.
    /// @param layout  of the empty file system, which has a label
    /// @param time  of all files
    FatWriter(const FatLayout& layout, const Tree& tree, std::time_t time);

    /// Whether there are enough clusters, and no directory is too large.
    bool fits() const;

    /// @return the offset of the first byte that nothing uses. All that follows is free clusters.
    std::uint64_t end() const;

    /// Writes each byte of the file system up to its end, also zeros, so that it has no holes.
    /// @param image  with the file system that mkfs.vfat has made
    /// @param directory  with the sources
    /// @throw Failure when a source has changed, or the image cannot be written
    void write(const Descriptor& image, int directory, const Advance& advance) const;

private:
    struct Chain {
        std::uint32_t first = 0; ///< 0 when there is none
        std::uint32_t clusters = 0;
    };

    void place(const std::string& path, std::uint64_t size);
    Chain chainOf(const std::string& path) const;
    std::vector<unsigned char> directoryAt(const std::string& path) const;
    std::vector<unsigned char> table(const Descriptor& image) const;
    void writeReserved(const Descriptor& image) const;
    void writeDirectory(const Descriptor& image, const std::string& path) const;
    void writeFile(const Descriptor& image, const std::string& path, int directory,
                   const Advance& advance) const;

    const FatLayout& m_layout;
    const Tree& m_tree;
    std::time_t m_time;
    std::map<std::string, std::vector<FatEntry>> m_directories; ///< by path; empty for the top
    std::map<std::string, Chain> m_chains;                      ///< by path
    std::uint64_t m_next;                                       ///< the first free cluster
};

} // namespace velacreate
