#include "forms/isoIdentifiers.h"

#include "support/utf8.h"

#include <algorithm>

namespace velacreate {
namespace {
constexpr char16_t SUBSTITUTE = u'_';

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
    if (name.rfind(u'.') == 0 && name.size() <= 1 + LONGEST_ISO_EXTENSION) {
        return u'.' + limited(name.substr(1), LONGEST_ISO_EXTENSION);
    }
    const auto parts = partsOfName(name);
    return joined({limited(parts.stem, LONGEST_ISO_STEM), limited(parts.extension, LONGEST_ISO_EXTENSION)});
}

/// Keeps at least three characters of a file's extension. The dot between does not count.
std::u16string limitedJolietName(const std::u16string& name, bool isDirectory) {
    if (isDirectory || name.size() <= LONGEST_JOLIET_NAME) {
        return name.substr(0, LONGEST_JOLIET_NAME);
    }
    auto [stem, extension] = partsOfName(name);
    stem.resize(
        std::min(stem.size(), LONGEST_JOLIET_NAME - std::min(extension.size(), LONGEST_ISO_EXTENSION)));
    extension.resize(std::min(extension.size(), LONGEST_JOLIET_NAME - stem.size()));
    return joined({stem, extension});
}

std::u16string decoded(IsoPlatform platform, IsoCharset charset, const std::string& name) {
    return charset == IsoCharset::utf8 ? decodedUtf8(name)
                                       : decodedBytes(name, platform == IsoPlatform::powerPc);
}

/// The dot before a file's extension. A dot at the end, and one before a backup mark, do not count when there
/// is another one.
std::size_t powerPcDot(const std::u16string& name) {
    const auto last = name.rfind(u'.');
    if (last == std::u16string::npos || last == 0 || (last + 1 < name.size() && name[last + 1] != u'~')) {
        return last;
    }
    const auto earlier = name.rfind(u'.', last - 1);
    return earlier == std::u16string::npos ? last : earlier;
}

/// What genisoimage makes of a long file name. Dots that it leaves out need room as well.
std::u16string limitedPowerPcName(const std::u16string& name) {
    constexpr std::size_t keptOfExtension = 15;
    const auto dot = powerPcDot(name);
    if (name.size() < LONGEST_POWER_PC_NAME || dot == std::u16string::npos) {
        return name.substr(0, LONGEST_POWER_PC_NAME);
    }
    const auto longestStem = LONGEST_POWER_PC_NAME - 1 - std::min(name.size() - dot - 1, keptOfExtension);
    std::u16string text;
    std::size_t used = 0;
    for (std::size_t at = 0; at < name.size(); ++at) {
        const bool isDot = name[at] == u'.';
        const bool isWritten =
            used < (at < dot ? longestStem : LONGEST_POWER_PC_NAME) && (!isDot || at <= dot);
        if (isWritten) {
            text += name[at];
        }
        used += isWritten || isDot ? 1 : 0;
    }
    return text;
}
} // namespace

std::u16string isoIdentifier(IsoPlatform platform, IsoTreeKind kind, IsoCharset charset,
                             const IsoName& name) {
    const bool isFromXorriso = platform == IsoPlatform::efi;
    if (kind == IsoTreeKind::primary && !isFromXorriso) {
        const auto text = decodedBytes(name.text, false);
        return name.isDirectory ? text.substr(0, LONGEST_POWER_PC_NAME) : limitedPowerPcName(text);
    }
    const auto text = decoded(platform, charset, name.text);
    if (kind == IsoTreeKind::primary) {
        return shortIdentifier(text);
    }
    const auto allowed = withoutJolietSigns(text);
    return isFromXorriso ? limitedJolietName(allowed, name.isDirectory)
                         : allowed.substr(0, LONGEST_JOLIET_NAME);
}

std::u16string jolietSortKey(IsoCharset charset, const IsoName& name) {
    return withoutJolietSigns(withoutVersion(decoded(IsoPlatform::powerPc, charset, name.text)));
}

std::u16string withoutVersion(std::u16string name) {
    name.resize(std::min(name.find(u';'), name.size()));
    return name;
}

} // namespace velacreate
