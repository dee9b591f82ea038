#include "support/utf8.h"

#include "support/failure.h"

#include <cwchar>
#include <cwctype>

namespace velacreate {

namespace {

/// Made once and kept, since making one reads files.
locale_t utf8() {
    static const locale_t LOCALE = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    if (LOCALE == nullptr) {
        throw Failure(withError("the locale C.UTF-8"));
    }
    return LOCALE;
}

} // namespace

Utf8Locale::Utf8Locale() : m_before(uselocale(utf8())) {}

Utf8Locale::~Utf8Locale() {
    uselocale(m_before);
}

std::optional<std::wstring> decoded(const std::string& text) {
    const Utf8Locale locale;
    std::wstring characters;
    std::mbstate_t state{};
    for (std::size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        const std::size_t length = std::mbrtowc(&character, text.data() + at, text.size() - at, &state);
        const bool isWrong = length > text.size(); // the two values that stand for an error are the largest
        if (length == 0 || isWrong) {
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
