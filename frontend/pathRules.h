/// @file
/// What a path must be like before the library puts it into a shell command.
#ifndef VELACREATE_PATHRULES_H
#define VELACREATE_PATHRULES_H

#include <filesystem>
#include <stdexcept>
#include <string>

namespace velacreate {

namespace fs = std::filesystem;

/// The call is wrong or would do harm. Thrown only while nothing has been changed yet.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @return the text between single quotes, for a message
std::string shown(const std::string& text);

/// Whether the shell takes the text as one word, as it stands.
bool isWord(const std::string& text);

/// For what commands carry bare.
void requireWord(const std::string& text);

/// For what commands carry between double quotes.
void requireQuotable(const std::string& text);

/// @return the absolute path, free of links, of something that exists
fs::path existing(const std::string& path);

/// @return the absolute path of something that may be missing; its directory may not
fs::path inExistingDirectory(const std::string& path);

/// Whether anything stands at the path, be it a link that leads nowhere.
bool isTaken(const fs::path& path);

/// Whether the path is the directory or lies somewhere below it. Both absolute and normal.
bool isWithin(const fs::path& path, const fs::path& directory);

} // namespace velacreate

#endif
