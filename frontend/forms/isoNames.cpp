#include "forms/isoNames.h"

#include "forms/isoNumbering.h"

#include <algorithm>
#include <set>

namespace velacreate {

IsoNames::IsoNames(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset,
                   const std::vector<IsoName>& names)
    : m_platform(platform), m_kind(kind) {
    for (const auto& name : names) {
        m_identifiers.push_back({isoIdentifier(platform, kind, charset, name), name.isDirectory});
        if (platform == IsoPlatform::powerPc && kind == IsoTreeKind::joliet) {
            m_sortedBy.push_back(jolietSortKey(charset, name));
        }
    }
    if (platform == IsoPlatform::efi) {
        numberLikeXorriso(kind, m_identifiers);
    }
    for (std::size_t entry = 0; entry < names.size(); ++entry) {
        m_entries.emplace(m_identifiers[entry].text, entry);
    }
}

bool IsoNames::fit(std::size_t entry, const std::u16string& identifier) const {
    return mayBeNumbered() || identifier == m_identifiers[entry].text;
}

std::vector<std::size_t> IsoNames::wrongOf(const std::map<std::size_t, std::u16string>& identifiers) const {
    std::vector<std::size_t> wrong;
    if (mayBeNumbered()) {
        std::multiset<std::u16string> all;
        for (const auto& [entry, identifier] : identifiers) {
            all.insert(collidingPart(identifier));
        }
        for (const auto& [entry, identifier] : identifiers) {
            if (!isFromGenisoimage(identifier, m_identifiers[entry].text, all)) {
                wrong.push_back(entry);
            }
        }
    }
    return wrong;
}

std::optional<std::size_t> IsoNames::find(const std::u16string& identifier) const {
    const auto found = m_entries.find(identifier);
    return found == m_entries.end() ? std::nullopt : std::optional(found->second);
}

std::u16string IsoNames::placeOf(std::size_t entry, const std::u16string& identifier) const {
    if (m_platform == IsoPlatform::efi) {
        return identifier;
    }
    if (m_kind == IsoTreeKind::joliet) {
        return m_sortedBy[entry];
    }
    auto place = withoutVersion(identifier);
    std::replace(place.begin(), place.end(), u'.', u'\1');
    return place;
}

bool IsoNames::mayBeNumbered() const {
    return m_platform == IsoPlatform::powerPc && m_kind == IsoTreeKind::primary;
}

} // namespace velacreate
