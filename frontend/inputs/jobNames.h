/// @file
/// The names that a job uses itself in its job directory.
#pragma once

#include <string>

namespace velacreate {

constexpr const char* PACKAGE_NAME = "tool.zip"; ///< the tool package, as the library is told
constexpr const char* LIBRARY_FOLDER = ".job";   ///< the launchers' folder, and where the output grows

/// Whether the job, or the library in it, makes, overwrites or removes something of this name at the top
/// level of the job directory; such a name is kept off every medium.
bool isJobName(const std::string& name);

/// Whether it is one of the clone images' names.
bool isCloneImage(const std::string& name);

} // namespace velacreate
