/// @file
/// Names on a medium and in a job directory.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

constexpr const char* PACKAGE_NAME = "tool.zip"; ///< the tool package, as the library is told
constexpr const char* LIBRARY_FOLDER = ".job";   ///< the launchers' folder, and where the output grows

/// Whether the job, or the library in it, makes, overwrites or removes something of this name at the top
/// level of the job directory; such a name is kept off every medium.
bool isJobName(const std::string& name);

/// Whether it is one of the clone images' names.
bool isCloneImage(const std::string& name);

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
