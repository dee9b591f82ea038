#include "forms/isoNames.h"

#include "support/utf8.h"

#include <algorithm>

namespace velacreate {
namespace {
constexpr char16_t SUBSTITUTE = u'_';
constexpr std::size_t LONGEST_STEM = 8;
constexpr std::size_t LONGEST_EXTENSION = 3;
constexpr std::size_t LONGEST_POWER_PC = 31;

struct Parts {
    std::u16string stem;
    std::u16string extension;
};

/// A dot at the beginning does not separate.
Parts partsOfName(const std::u16string& name) {
    const auto dot = name.rfind(u'.');
    if (dot == std::u16string::npos || dot == 0) {
        return {name, {}};
    }
    return {name.substr(0, dot), name.substr(dot + 1)};
}

std::u16string joined(const Parts& parts) {
    return parts.extension.empty() ? parts.stem : parts.stem + u'.' + parts.extension;
}

std::u16string withoutJolietSigns(std::u16string text) {
    const std::u16string forbidden = u"*/:;?\\";
    const auto isForbidden = [&](char16_t character) {
        return character < u' ' || forbidden.find(character) != std::u16string::npos;
    };
    std::replace_if(text.begin(), text.end(), isForbidden, SUBSTITUTE);
    return text;
}

std::u16string decodedBytes(const std::string& name, bool isLatin1) {
    constexpr unsigned char firstOfLatin1 = 0xa0;
    std::u16string text;
    for (const char letter : name) {
        const auto byte = static_cast<unsigned char>(letter);
        text += byte < 0x80 || (isLatin1 && byte >= firstOfLatin1) ? char16_t{byte} : SUBSTITUTE;
    }
    return text;
}

std::u16string decodedUtf8(const std::string& name) {
    std::u16string text;
    for (std::size_t at = 0; at < name.size();) {
        wchar_t character = 0;
        const auto length = readCharacter(name, at, character);
        if (length == 0 || character > LAST_OF_ONE_UNIT) {
            text += SUBSTITUTE;
        } else {
            text += static_cast<char16_t>(character);
        }
        at += std::max<std::size_t>(length, 1);
    }
    return text;
}

/// Capital letters, digits and "_", with an extension.
std::u16string shortIdentifier(const std::u16string& name) {
    const auto limited = [](std::u16string text, std::size_t size) {
        for (auto& character : text) {
            if (character >= u'a' && character <= u'z') {
                character = static_cast<char16_t>(character - u'a' + u'A');
            } else if ((character < u'A' || character > u'Z') && (character < u'0' || character > u'9')) {
                character = SUBSTITUTE;
            }
        }
        return text.substr(0, size);
    };
    if (name.rfind(u'.') == 0 && name.size() <= 1 + LONGEST_EXTENSION) {
        return u'.' + limited(name.substr(1), LONGEST_EXTENSION);
    }
    const auto parts = partsOfName(name);
    return joined({limited(parts.stem, LONGEST_STEM), limited(parts.extension, LONGEST_EXTENSION)});
}

/// Keeps at least three characters of a file's extension. The dot between does not count.
std::u16string limitedJolietName(const std::u16string& name, bool isDirectory) {
    if (isDirectory || name.size() <= LONGEST_JOLIET_NAME) {
        return name.substr(0, LONGEST_JOLIET_NAME);
    }
    auto [stem, extension] = partsOfName(name);
    stem.resize(std::min(stem.size(), LONGEST_JOLIET_NAME - std::min(extension.size(), LONGEST_EXTENSION)));
    extension.resize(std::min(extension.size(), LONGEST_JOLIET_NAME - stem.size()));
    return joined({stem, extension});
}

std::u16string decoded(IsoPlatform platform, IsoCharset charset, const std::string& name) {
    return charset == IsoCharset::utf8 ? decodedUtf8(name)
                                       : decodedBytes(name, platform == IsoPlatform::powerPc);
}

std::u16string plainIdentifier(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset,
                               const IsoName& name) {
    const bool isFromXorriso = platform == IsoPlatform::efi;
    if (kind == IsoTreeKind::primary && !isFromXorriso) {
        return decodedBytes(name.text, false);
    }
    const auto text = decoded(platform, charset, name.text);
    if (kind == IsoTreeKind::primary) {
        return shortIdentifier(text);
    }
    const auto allowed = withoutJolietSigns(text);
    return isFromXorriso ? limitedJolietName(allowed, name.isDirectory)
                         : allowed.substr(0, LONGEST_JOLIET_NAME);
}

/// Names with the same text here may be numbered.
std::u16string collidingPart(IsoPlatform platform, const std::u16string& plain) {
    constexpr std::size_t neverNumbered = 24;
    return platform == IsoPlatform::efi ? plain : plain.substr(0, plain.find(u';')).substr(0, neverNumbered);
}

bool startsWith(const std::u16string& text, const std::u16string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// Whether an identifier is the beginning of a name, a number or none, and the beginning of its extension.
bool isNumbered(const std::u16string& identifier, const std::u16string& plain) {
    const auto end = plain.find_last_not_of(u'.');
    const auto dot = end == std::u16string::npos ? end : plain.rfind(u'.', end);
    const auto extension = dot == std::u16string::npos ? u"." : plain.substr(dot);
    const auto common = static_cast<std::size_t>(
        std::mismatch(identifier.begin(), identifier.end(), plain.begin(), plain.end()).first -
        identifier.begin());
    for (auto start = common + 1; start-- > 0;) {
        const auto behind = std::min(identifier.find_first_not_of(u"0123456789", start), identifier.size());
        if (startsWith(extension, identifier.substr(behind))) {
            return true;
        }
    }
    return false;
}

std::u16string withoutVersion(std::u16string name) {
    name.resize(std::min(name.find(u';'), name.size()));
    return name;
}
} // namespace

IsoNames::IsoNames(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset,
                   const std::vector<IsoName>& names)
    : m_platform(platform), m_kind(kind),
      m_limit(kind == IsoTreeKind::joliet    ? LONGEST_JOLIET_NAME + 1
              : platform == IsoPlatform::efi ? LONGEST_STEM + 1 + LONGEST_EXTENSION
                                             : LONGEST_POWER_PC) {
    std::map<std::u16string, std::size_t> count;
    for (const auto& name : names) {
        m_plain.push_back(plainIdentifier(platform, kind, charset, name));
        ++count[collidingPart(platform, m_plain.back())];
    }
    const bool neverCollide = platform == IsoPlatform::powerPc && kind == IsoTreeKind::joliet;
    for (std::size_t entry = 0; entry < names.size(); ++entry) {
        const auto& plain = m_plain[entry];
        const bool collides = plain.size() >= m_limit || count[collidingPart(platform, plain)] > 1;
        m_mayBeShortened.push_back(collides && !neverCollide);
        if (m_mayBeShortened.back()) {
            m_shortened.push_back(entry);
        } else {
            m_singles.emplace(plain, entry);
        }
        if (neverCollide) {
            m_sortedBy.push_back(
                withoutJolietSigns(withoutVersion(decoded(platform, charset, names[entry].text))));
        }
    }
}

bool IsoNames::fit(std::size_t entry, const std::u16string& identifier) const {
    const auto& plain = m_plain[entry];
    return identifier.size() <= m_limit &&
           (identifier == plain || (m_mayBeShortened[entry] && isNumbered(identifier, plain)));
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

} // namespace velacreate
