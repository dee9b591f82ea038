#include "support/utf8.h"

#include "support/failure.h"

#include <algorithm>
#include <array>
#include <cwchar>
#include <cwctype>

namespace velacreate {
namespace {
/// Kept, because creating a locale reads files.
locale_t utf8() {
    static const locale_t LOCALE = [] {
        auto* const locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        check(locale != nullptr).orFail("the locale C.UTF-8");
        return locale;
    }();
    return LOCALE;
}
} // namespace

Utf8Locale::Utf8Locale() : m_before(uselocale(utf8())) {}

Utf8Locale::~Utf8Locale() {
    uselocale(m_before);
}

std::size_t readCharacter(const std::string& text, std::size_t at, wchar_t& character) {
    if (const auto byte = static_cast<unsigned char>(text[at]); byte != 0 && byte < 0x80) {
        character = byte; // ASCII needs no locale
        return 1;
    }
    const Utf8Locale locale;
    std::mbstate_t state{};
    const std::size_t length = std::mbrtowc(&character, text.data() + at, text.size() - at, &state);
    return length > text.size() ? 0 : length; // the two error values are the largest
}

bool isControl(wchar_t character) {
    return character < 0x20 || (character >= 0x7f && character < 0xa0);
}

bool isUnseen(wchar_t character) {
    struct Range {
        wchar_t first;
        wchar_t last;
    };
    constexpr std::array<Range, 8> UNSEEN = {{{0x61c, 0x61c},
                                              {0x200b, 0x200b},
                                              {0x200e, 0x200f},
                                              {0x2028, 0x202e},
                                              {0x2060, 0x206f},
                                              {0xfeff, 0xfeff},
                                              {0xfff9, 0xfffb},
                                              {0xe0000, 0xe007f}}};
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
    for (wchar_t& character : text) {
        const auto capital = towupper_l(static_cast<wint_t>(character), utf8());
        character = static_cast<wchar_t>(capital);
    }
    return text;
}

} // namespace velacreate
