/// @file
/// ISO 9660 images.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// @param path  for the message
/// @throw Refusal when it is another file, or incomplete
void requireWholeIsoImage(const Descriptor& file, const std::string& path);

} // namespace velacreate
