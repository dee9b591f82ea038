#include "support/utf8.h"

#include <algorithm>
#include <array>
#include <cwctype>

namespace velacreate {
namespace {
/// Kept, because creating a locale reads files.
locale_t installed() {
    static const locale_t LOCALE = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return LOCALE;
}

locale_t utf8OrAscii() {
    return installed() != nullptr ? installed() : newlocale(LC_CTYPE_MASK, "C", nullptr);
}

bool isContinuation(unsigned byte) {
    return (byte & 0xc0U) == 0x80;
}

bool isSurrogate(unsigned character) {
    return character >= 0xd800 && character < 0xe000;
}
} // namespace

Utf8Locale::Utf8Locale() : m_before(uselocale(utf8OrAscii())) {}

Utf8Locale::~Utf8Locale() {
    uselocale(m_before);
}

bool Utf8Locale::isInstalled() {
    return installed() != nullptr;
}

std::size_t readCharacter(const std::string& text, std::size_t at, wchar_t& character) {
    constexpr unsigned smallest[] = {0, 1, 0x80, 0x800, 0x10000}; // of a character with so many bytes
    const auto byteAt = [&](std::size_t place) { return unsigned{static_cast<unsigned char>(text[place])}; };
    const unsigned first = byteAt(at);
    const std::size_t length = first < 0x80 ? 1 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (isContinuation(first) || first > 0xf7 || length > text.size() - at) {
        return 0;
    }
    unsigned value = length == 1 ? first : first & (0x7fU >> length);
    for (std::size_t place = at + 1; place < at + length; ++place) {
        if (!isContinuation(byteAt(place))) {
            return 0;
        }
        value = value << 6U | (byteAt(place) & 0x3fU);
    }
    if (value < smallest[length] || isSurrogate(value)) {
        return 0;
    }
    character = static_cast<wchar_t>(value);
    return length;
}

std::string cut(const std::string& text, std::size_t most) {
    auto end = std::min(most, text.size());
    while (end > 0 && end < text.size() && isContinuation(static_cast<unsigned char>(text[end]))) {
        --end;
    }
    return text.substr(0, end);
}

bool isControl(wchar_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

bool isUnseen(wchar_t character) {
    struct Range {
        wchar_t first;
        wchar_t last;
    };
    constexpr std::array<Range, 15> UNSEEN = {{{0xad, 0xad},
                                               {0x61c, 0x61c},
                                               {0x115f, 0x1160},
                                               {0x180b, 0x180f},
                                               {0x200b, 0x200b},
                                               {0x200e, 0x200f},
                                               {0x2028, 0x202e},
                                               {0x2060, 0x206f},
                                               {0x2800, 0x2800},
                                               {0x3164, 0x3164},
                                               {0xfe00, 0xfe0f},
                                               {0xfeff, 0xfeff},
                                               {0xffa0, 0xffa0},
                                               {0xfff9, 0xfffb},
                                               {0xe0000, 0xe01ef}}};
    return std::any_of(UNSEEN.begin(), UNSEEN.end(), [&](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

std::optional<std::wstring> decoded(const std::string& text) {
    std::wstring characters;
    for (std::size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        const std::size_t length = readCharacter(text, at, character);
        if (length == 0) {
            return std::nullopt;
        }
        characters += character;
        at += length;
    }
    return characters;
}

std::wstring withoutCase(std::wstring text) {
    auto* const locale = utf8OrAscii();
    for (wchar_t& character : text) {
        const auto capital = towupper_l(static_cast<wint_t>(character), locale);
        character = static_cast<wchar_t>(capital);
    }
    return text;
}

} // namespace velacreate
