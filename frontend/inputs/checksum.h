/// @file
/// SHA-256 sums.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// @return the SHA-256 sum of a whole file, in hexadecimal digits
/// @throw Failure
std::string sha256Of(
    const Descriptor& file, const Advance& advance = [](std::uint64_t /*bytes*/) {});

/// @return the line that "sha256sum -c" reads, with the name escaped where necessary
std::string checksumLine(const std::string& sum, const std::string& name);

/// Whether a file holds just such a line, with any sum, for this name.
bool isChecksumOf(const Descriptor& file, const std::string& name);

} // namespace velacreate
