#include "support/failure.h"

#include "support/utf8.h"

#include <cerrno>
#include <system_error>

namespace velacreate {

std::string withError(const std::string& what) {
    return what + ": " + std::generic_category().message(errno);
}

std::string printable(const std::string& text) {
    const int error = errno; // for withError(), whose text names something as a rule
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        wchar_t character = 0;
        const std::size_t length = readCharacter(text, at, character);
        if (length == 0 || isControl(character) || isLayout(character)) {
            result += '?';
        } else {
            result.append(text, at, length);
        }
        at += length == 0 ? 1 : length;
    }
    errno = error;
    return result;
}

std::string shown(const std::string& text) {
    return "'" + printable(text) + "'";
}

} // namespace velacreate
