/// @file
/// The identifiers that the tools give to files and directories on ISO 9660.
#pragma once

#include "forms/isoDescriptors.h"
#include "forms/isoMedium.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

constexpr std::size_t LONGEST_JOLIET_NAME = 103; ///< in units of UTF-16

/// How the tool read names beyond ASCII, which depends on the locale that it ran in.
enum class IsoCharset { utf8, bytes };

struct IsoName {
    std::string text;
    bool isDirectory;
};

/// The identifiers of one directory's entries in one tree, without versions.
class IsoNames {
public:
    /// @param names  of the entries, in order
    IsoNames(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset, const std::vector<IsoName>& names);

    /// Whether an entry may have an identifier: the one of its name, or one that is shortened and numbered,
    /// because names collide or are too long.
    bool fit(std::size_t entry, const std::u16string& identifier) const;

    /// @param isFree    called with an entry; whether it was not found before
    /// @param isLikely  whether one of several entries that may have the identifier is the one
    /// @return a free entry that may have the identifier, or the number of entries
    template <typename IsFree, typename IsLikely>
    std::size_t find(const std::u16string& identifier, const IsFree& isFree, const IsLikely& isLikely) {
        const auto single = m_singles.find(identifier);
        if (single != m_singles.end() && isFree(single->second)) {
            return single->second;
        }
        while (m_start < m_shortened.size() && !isFree(m_shortened[m_start])) {
            ++m_start;
        }
        for (auto at = m_start; at < m_shortened.size(); ++at) {
            const auto entry = m_shortened[at];
            if (isFree(entry) && isLikely(entry) && fit(entry, identifier)) {
                return entry;
            }
        }
        return m_plain.size();
    }

    /// @return a text by which the directory is sorted; genisoimage gives some entries the same
    std::u16string placeOf(std::size_t entry, const std::u16string& identifier) const;

private:
    IsoPlatform m_platform;
    IsoTreeKind m_kind;
    std::size_t m_limit; ///< of an identifier's length
    std::vector<std::u16string> m_plain;
    std::vector<bool> m_mayBeShortened;
    std::map<std::u16string, std::size_t> m_singles; ///< entries whose name does not collide
    std::vector<std::size_t> m_shortened;            ///< the other entries, which are numbered in this order
    std::size_t m_start = 0;
    std::vector<std::u16string> m_sortedBy; ///< only where it is not the identifier
};

} // namespace velacreate
