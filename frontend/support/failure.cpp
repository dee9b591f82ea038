#include "support/failure.h"

#include "support/utf8.h"

#include <cerrno>
#include <iomanip>
#include <sstream>
#include <system_error>

namespace velacreate {
namespace {
/// As a shell reads it in $'...'.
std::string escaped(wchar_t character) {
    const bool isLong = character > 0xffff;
    std::ostringstream text;
    text << (isLong ? "\\U" : "\\u") << std::hex << std::setfill('0') << std::setw(isLong ? 8 : 4)
         << static_cast<long>(character);
    return text.str();
}
} // namespace

SystemError::SystemError() : m_number(errno) {}

std::string SystemError::about(const std::string& what) const {
    return what + ": " + std::generic_category().message(m_number);
}

void Checked::orFail(const std::string& what) const {
    if (!m_isDone) {
        throw Failure(m_error.about(what));
    }
}

void Checked::orRefuse(const std::string& what) const {
    if (!m_isDone) {
        throw Refusal(m_error.about(what));
    }
}

std::string printable(const std::string& text) {
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        const std::size_t length = readCharacter(text, at, character);
        if (length == 0 || isControl(character)) {
            result += '?';
        } else if (isUnseen(character)) {
            result += escaped(character);
        } else {
            result.append(text, at, length);
        }
        at += length == 0 ? 1 : length;
    }
    return result;
}

std::string quote(const std::string& text) {
    return "'" + printable(text) + "'";
}

} // namespace velacreate
