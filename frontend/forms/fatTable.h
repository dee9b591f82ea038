/// @file
/// The table of a FAT file system: which cluster follows which.
#pragma once

#include "forms/examination.h"
#include "forms/fatLayout.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// The clusters of one file or directory.
struct FatChain {
    std::vector<ByteRange> ranges; ///< of the medium
    std::uint64_t clusters = 0;
    std::string fault; ///< such as "leads to a free cluster"; then the rest is not to be used
};

/// Needs memory for each piece of a file, not for each cluster.
class FatTable {
public:
    FatTable(const Examination& examination, const FatLayout& layout)
        : m_examination(examination), m_layout(layout) {}

    /// Demands both tables as mkfs.vfat and the kernel write them.
    /// @param notes  takes what is no difference, such as a dirty bit
    /// @return false, after a difference was added, when the rest cannot be examined
    bool read(std::vector<std::string>& notes);

    /// Gives the chain that begins with a cluster to its owner. Each cluster can be taken only once.
    FatChain take(std::uint32_t first);

    /// Adds a difference for clusters that nobody has taken.
    void reportUntaken() const;

    void forEachFreeRange(const std::function<void(const ByteRange&)>& use) const;

private:
    /// Clusters that follow each other.
    struct Run {
        std::uint32_t first;
        std::uint32_t count;
        std::uint32_t next; ///< the first cluster of another run; 0 at the end of a chain
    };

    bool readPiece(std::uint64_t offset, std::vector<unsigned char>& piece);
    bool useEntries(std::uint32_t cluster, const std::vector<unsigned char>& piece);
    bool use(std::uint32_t cluster, std::uint32_t value);
    bool useReserved(std::uint32_t cluster, std::uint32_t value);
    bool refuse(std::uint32_t cluster, std::uint32_t value, const std::string& reason) const;
    bool isEnd(std::uint32_t cluster, std::uint32_t value) const;
    std::uint32_t lastCluster() const;
    ByteRange rangeOf(const Run& run) const;

    const Examination& m_examination;
    const FatLayout& m_layout;
    std::vector<Run> m_runs; ///< in order
    std::vector<bool> m_isTaken;
    bool m_isDirty = false;
};

} // namespace velacreate
