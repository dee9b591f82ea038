/// @file
/// The identifiers that the tools give to files and directories on ISO 9660.
#pragma once

#include "forms/isoNumbering.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// The identifiers of one directory's entries in one tree, without versions.
class IsoNames {
public:
    /// @param names  of the entries, in order
    IsoNames(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset, const std::vector<IsoName>& names);

    /// Whether an entry has the identifier. Says yes where that is known only at the directory's end.
    bool fit(std::size_t entry, const std::u16string& identifier) const;

    /// At the directory's end.
    /// @param identifiers  of the entries that were found
    /// @return the entries that must not have theirs
    std::vector<std::size_t> wrongOf(const std::map<std::size_t, std::u16string>& identifiers) const;

    /// @return the entry that has the identifier; only for trees without the names themselves
    std::optional<std::size_t> find(const std::u16string& identifier) const;

    /// @return a text by which the directory is sorted; genisoimage gives some entries the same
    std::u16string placeOf(std::size_t entry, const std::u16string& identifier) const;

private:
    /// Whether the names alone do not tell the identifiers.
    bool mayBeNumbered() const;

    IsoPlatform m_platform;
    IsoTreeKind m_kind;
    std::vector<IsoIdentifier> m_identifiers;
    std::map<std::u16string, std::size_t> m_entries;
    std::vector<std::u16string> m_sortedBy; ///< only where it is not the identifier
};

} // namespace velacreate
