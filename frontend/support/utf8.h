/// @file
/// UTF-8 text, in any locale, and on machines without a UTF-8 locale.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <locale.h> // NOLINT(modernize-deprecated-headers): declares locale_t and uselocale

namespace velacreate {

/// While this lives, the C library reads this thread's text as UTF-8, if the locale C.UTF-8 is installed.
class Utf8Locale {
public:
    Utf8Locale();
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale();

    static bool isInstalled();

private:
    locale_t m_before;
};

constexpr wchar_t LAST_OF_ONE_UNIT = 0xffff; ///< higher characters take two units of UTF-16

/// Reads what the C library reads in the locale C.UTF-8, also a character of four bytes beyond U+10FFFF.
/// @return the length in bytes of the character at a position; 0 for a NUL or an invalid byte
std::size_t readCharacter(const std::string& text, std::size_t at, wchar_t& character);

/// @return the beginning of a UTF-8 text, with whole characters and at most so many bytes
std::string cut(const std::string& text, std::size_t most);

/// Whether it is a control character, also beyond ASCII.
bool isControl(wchar_t character);

/// Whether it is not shown, but changes the direction of text, breaks the line, or lets one name look like
/// another.
bool isUnseen(wchar_t character);

/// @return the characters of a text; none when it is not UTF-8
std::optional<std::wstring> decoded(const std::string& text);

/// @return the text in capitals, for comparing without case; without the locale C.UTF-8 only a to z change
std::wstring withoutCase(std::wstring text);

} // namespace velacreate
