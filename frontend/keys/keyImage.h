/// @file
/// The image of a key that is written to keys, or compared with them.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "forms/blockMap.h"
#include "job/heldSignals.h"
#include "job/jobDirectory.h"
#include "job/outcome.h"
#include "job/reporter.h"
#include "keys/keys.h"
#include "medium/imageBlocks.h"
#include "support/descriptor.h"
#include "support/failure.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

class KeyImage {
public:
    /// @throw Refusal when it is no file, is an ISO image, or does not end with a whole sector
    explicit KeyImage(const std::string& path);

    const std::string& path() const { return m_path; } ///< absolute
    /// The path of the map beside it; empty when there is none.
    const std::string& mapPath() const { return m_mapPath; }
    std::uint64_t size() const { return sizeOf(m_file); }

    /// For messages.
    std::string name() const { return "the image " + quote(m_path); }

    /// Refuses a log file, a report or an events file that is the image or its map.
    void requireOthers(const ShowChoices& choices) const;

    /// Reads its form and its map in a confined process, compares it with the sums of the map, and sums it up
    /// if wanted.
    /// @return refused, when it is no image of a key, or not that of its map
    Outcome examine(bool isSummedUp, const JobDirectory& jobDirectory, const HeldSignals& signals,
                    Console& console);

    /// After examine(): by the map, or by its file system.
    ImageBlocks blocks() const { return {m_file, m_blocks}; }
    const std::string& sum() const { return m_sum; } ///< SHA-256

    /// In a job's process, when the blocks have been read.
    /// @throw Failure when it was changed since it was opened
    void requireUnchanged() const;

private:
    int readBlocks(const Descriptor& found, Reporter& reporter) const;
    void checkSums(const std::vector<MappedRange>& mapped, Reporter& reporter) const;

    std::string m_path;
    std::string m_mapPath;
    Descriptor m_file;
    Descriptor m_map; ///< closed when there is none
    struct stat m_status;
    Blocks m_blocks;
    std::string m_sum;
};

/// What is needed while the image is written to keys.
/// @param scratch  the parent of the job directories
std::vector<NeededFiles> neededBy(const KeyImage& image, const NamedDirectory& scratch,
                                  const ShowChoices& choices);

} // namespace velacreate
