/// @file
/// Sums by which a file is recognised.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// @return the SHA-256 sum of a whole file, in hexadecimal digits as sha256sum writes them
/// @throw Failure
std::string sha256Of(
    const Descriptor& file, const Advance& advance = [](std::uint64_t /*bytes*/) {});

/// @return the line by which "sha256sum -c" checks a file, its name escaped where need be
std::string checksumLine(const std::string& sum, const std::string& name);

} // namespace velacreate
