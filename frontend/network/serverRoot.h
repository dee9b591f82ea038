/// @file
/// The root directory of the server.
#pragma once

#include "network/netbootDirectory.h"

#include <string>

namespace velacreate {

/// The files of the network-boot directory in that root directory.
constexpr const char* SERVED_PLACE = "/mnt/package";

/// In a job's process with mounts of its own: makes a root directory that holds only a program, its
/// libraries, two devices and copies of the files to serve, and enters it. Nobody can write to it.
/// @param program  path; it is the same in the new root directory
/// @param scratch  path of a directory for the copies, which have no names there
/// @throw Failure
void enterServerRoot(const std::string& program, const NetbootDirectory& directory,
                     const std::string& scratch);

} // namespace velacreate
