#include "support/failure.h"

#include <cerrno>
#include <system_error>

namespace velacreate {

namespace {

bool isControl(unsigned char byte) {
    return byte < 0x20 || byte == 0x7f;
}

/// The control characters beyond ASCII, U+0080 to U+009F, in UTF-8.
bool isLateControl(const std::string& text, std::size_t at) {
    return text[at] == '\xc2' && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xa0;
}

} // namespace

std::string withError(const std::string& what) {
    return what + ": " + std::generic_category().message(errno);
}

std::string shown(const std::string& text) {
    std::string result = "'";
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (isLateControl(text, at)) {
            result += '?';
            ++at;
        } else {
            result += isControl(static_cast<unsigned char>(text[at])) ? '?' : text[at];
        }
    }
    return result + "'";
}

} // namespace velacreate
