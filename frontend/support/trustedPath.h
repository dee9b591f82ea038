/// @file
/// Paths in which nobody else can put a link.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// Opens the directory of a file that is named by a path. A link on the way is followed only where it lies in
/// a directory of root or of the user to which nobody else can write: others could make it lead anywhere.
/// @param what  for the message, such as "the log file '/tmp/a/log'"
/// @throw Refusal
Descriptor openTrustedDirectoryOf(const std::string& path, const std::string& what);

} // namespace velacreate
