/// @file
/// Names on a medium and in a job directory.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

constexpr const char* PACKAGE_NAME = "tool.zip"; ///< the tool package in a job directory
constexpr const char* LIBRARY_FOLDER = ".job";   ///< where the library runs and the output grows

/// No path in a command of the library may hold one of these.
constexpr const char* UNSAFE_IN_COMMANDS = "\"$`\\";

/// Whether the job or the library uses this name at the top of the job directory. No medium can hold it.
bool isJobName(const std::string& name);

bool isCloneImage(const std::string& name);

/// Whether a file of the tool package is copied to a medium: "boot/*" does not match names that begin with a
/// dot.
bool isBootFile(const std::string& name);

/// @return the parts between the slashes, also empty ones
std::vector<std::string> partsOf(const std::string& path);

/// @return the first part of a path
std::string topOf(const std::string& path);

/// @return the directories above a path, outermost first: "a" and "a/b" for "a/b/c"
std::vector<std::string> ancestorsOf(const std::string& path);

/// @return the text with a to z as capitals, in any locale
std::string inCapitals(std::string text);

/// Control characters beyond ASCII count only if the text is UTF-8.
bool holdsControlCharacter(const std::string& text);

} // namespace velacreate
