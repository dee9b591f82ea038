/// @file
/// SHA-256 sums.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <string>

namespace velacreate {

/// @return the SHA-256 sum of a whole file, in hexadecimal digits
/// @throw Failure
std::string sha256Of(
    const Descriptor& file, const Advance& advance = [](std::uint64_t /*bytes*/) {});

/// The same of the first bytes of a file, or of a text.
/// @throw Failure, also when the file is shorter
std::string sha256OfBeginning(const Descriptor& file, std::uint64_t size);
std::string sha256Of(const std::string& text);

/// @return the line that "sha256sum -c" reads, with the name escaped where necessary
std::string checksumLine(const std::string& sum, const std::string& name);

/// Whether a file holds just such a line, with any sum, for this name.
bool isChecksumOf(const Descriptor& file, const std::string& name);

} // namespace velacreate
