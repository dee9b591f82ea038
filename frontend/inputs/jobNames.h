/// @file
/// The names that a job uses itself in its workplace.
#ifndef VELACREATE_JOBNAMES_H
#define VELACREATE_JOBNAMES_H

#include <string>

namespace velacreate {

constexpr const char* PACKAGE_NAME = "tool.zip"; ///< the tool package, as the library is told
constexpr const char* LAUNCHERS_NAME = ".job";   ///< the launchers' folder, and where the output grows

/// Whether the job, or the library in it, makes, overwrites or removes something of this name at the top
/// level of the workplace; such a name is kept off every medium.
bool isJobName(const std::string& name);

/// Whether it is one of the clone images' names.
bool isCloneImage(const std::string& name);

} // namespace velacreate

#endif
