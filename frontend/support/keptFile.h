/// @file
/// Files of the user's own that grow with every call.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// Opens a file to add to its end, and makes it when it is missing: a file or a device, nothing that has to
/// be waited for, and nothing that a link leads to.
/// @param kind  for the message, such as "the log file"
/// @throw Refusal
Descriptor openToAdd(const std::string& kind, const std::string& path);

} // namespace velacreate
