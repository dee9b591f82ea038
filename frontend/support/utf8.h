/// @file
/// Names as UTF-8, whatever the user's language is.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <locale.h> // NOLINT(modernize-deprecated-headers): locale_t and uselocale are of this one

namespace velacreate {

/// The C library, and what builds on it, takes this thread's text for UTF-8 as long as it lives.
class Utf8Locale {
public:
    Utf8Locale();
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale();

private:
    locale_t m_before;
};

/// Reads the character that begins at a byte of a text.
/// @return its length in bytes; 0 when what is there is not UTF-8, or a NUL
std::size_t readCharacter(const std::string& text, std::size_t at, wchar_t& character);

/// Whether it is one of the control characters, of which some lie beyond ASCII.
bool isControl(wchar_t character);

/// Whether it turns the order around in which a terminal shows others, or breaks the line.
bool isLayout(wchar_t character);

/// @return the characters of a text; none when it is not in UTF-8
std::optional<std::wstring> decoded(const std::string& text);

/// @return the text in capitals, so that two that differ only in upper and lower case become the same
std::wstring withoutCase(std::wstring text);

} // namespace velacreate
