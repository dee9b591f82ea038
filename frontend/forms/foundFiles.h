/// @file
/// The files that a medium claims to hold. They are found without strictness: the readers judge the medium.
#pragma once

#include "forms/examination.h"
#include "forms/fatLayout.h"
#include "forms/fatTable.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

struct FoundFile {
    std::string place; ///< empty for the top directory
    bool isDirectory;
    std::uint64_t size;            ///< in bytes; 0 of a directory
    std::vector<ByteRange> ranges; ///< of the medium; may go on behind the end of the file
};

/// Called with each file and directory, a directory before its content.
/// @return whether to enter the directory
using VisitFound = std::function<bool(const FoundFile& found)>;

/// The FAT file system of a key.
class KeyFileSystem {
public:
    /// Adds a difference when it is not sound.
    /// @param place  none when the key has no partition for it
    /// @throw Failure when something cannot be read, as visit()
    KeyFileSystem(const Examination& key, std::optional<ByteRange> place);

    /// Whether the following can be called.
    bool isSound() const { return m_isSound; }
    const FatTable& table() const { return m_table; }
    /// To be called once.
    void visit(const VisitFound& visit);

    /// Also when it is not sound.
    const FatLayout& layout() const { return m_layout; }

private:
    struct Directory {
        std::string place; ///< empty for the top
        std::vector<ByteRange> ranges;
    };

    void visitEntries(const Directory& directory, const VisitFound& visit,
                      const std::function<void(Directory)>& enterLater);

    const Examination& m_key;
    std::vector<std::string> m_notes;
    FatLayout m_layout;
    FatTable m_table;
    bool m_isSound;
};

/// Visits the tree of an image with the Rock Ridge names. Adds a difference when there is none.
/// @throw Failure when something cannot be read
void visitIso(const Examination& image, const VisitFound& visit);

} // namespace velacreate
