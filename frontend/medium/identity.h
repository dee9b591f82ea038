/// @file
/// By what a program recognises a medium.
#pragma once

#include "disks/disks.h"
#include "display/eventStream.h"

#include <string>

namespace velacreate {

/// @param name  as in messages
MediumIdentity identityOf(const std::string& name, const std::string& node, const DiskDescription& about);

/// @param path  of a file, a directory or a drive; may be empty
MediumIdentity identityOf(const std::string& name, const std::string& path);

} // namespace velacreate
