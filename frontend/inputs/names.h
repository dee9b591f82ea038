/// @file
/// The parts of names on a medium.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

/// @return what is between the slashes of a path, also where that is nothing
std::vector<std::string> partsOf(const std::string& path);

/// @return the first part of a path
std::string topOf(const std::string& path);

/// @return the directories on the way to a path, outermost first: "a" and "a/b" for "a/b/c"
std::vector<std::string> ancestorsOf(const std::string& path);

/// @return the text with the letters a to z as capitals, however the user's language has them
std::string inCapitals(std::string text);

/// Also one beyond ASCII, where the text is in UTF-8.
bool holdsControlCharacter(const std::string& text);

} // namespace velacreate
