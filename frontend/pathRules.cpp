#include "pathRules.h"

#include <algorithm>
#include <cctype>

namespace velacreate {

namespace {

constexpr const char* ACTIVE_BARE = " \"'\\;&|<>()$`*?[]{}";
constexpr const char* ACTIVE_IN_QUOTES = "\"\\$`";

void requireFreeOf(const std::string& active, const std::string& text) {
    for (const char character : text) {
        const auto code = static_cast<unsigned char>(character);
        if (std::iscntrl(code) != 0) {
            throw Refusal(shown(text) + " holds the control character " + std::to_string(code));
        }
        if (active.find(character) != std::string::npos) {
            const auto name = character == ' ' ? "a blank" : std::string("the character ") + character;
            throw Refusal(shown(text) + " holds " + name + ", which the shell would not take as it is");
        }
    }
}

} // namespace

std::string shown(const std::string& text) {
    return "'" + text + "'";
}

bool isWord(const std::string& text) {
    return !text.empty() && text.front() != '-' && text.find_first_of(ACTIVE_BARE) == std::string::npos &&
           std::none_of(text.begin(), text.end(), [](unsigned char code) { return std::iscntrl(code) != 0; });
}

void requireWord(const std::string& text) {
    requireFreeOf(ACTIVE_BARE, text);
}

void requireQuotable(const std::string& text) {
    requireFreeOf(ACTIVE_IN_QUOTES, text);
}

fs::path existing(const std::string& path) {
    std::error_code error;
    auto found = fs::canonical(path, error);
    if (error) {
        throw Refusal(shown(path) + ": " + error.message());
    }
    return found;
}

fs::path inExistingDirectory(const std::string& path) {
    const auto absolute = fs::absolute(path);
    const auto name = absolute.filename();
    if (name.empty() || name == "." || name == "..") {
        return existing(path);
    }
    const auto directory = existing(absolute.parent_path());
    if (!fs::is_directory(directory)) {
        throw Refusal(shown(directory) + " is not a directory");
    }
    return directory / name;
}

bool isTaken(const fs::path& path) {
    return fs::exists(fs::symlink_status(path));
}

bool isWithin(const fs::path& path, const fs::path& directory) {
    return std::mismatch(directory.begin(), directory.end(), path.begin(), path.end()).first ==
           directory.end();
}

} // namespace velacreate
