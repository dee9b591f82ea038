/// @file
/// SHA-256 sums.
#pragma once

#include "support/descriptor.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace velacreate {

constexpr std::size_t SUM_DIGITS = 64; ///< of a SHA-256 sum

/// @return the SHA-256 sum of a whole file, in hexadecimal digits
/// @throw Failure
std::string sha256Of(
    const Descriptor& file, const Advance& advance = [](std::uint64_t /*bytes*/) {});

/// @return that of a part of a file, or of what there is of it
/// @throw Failure
std::string sha256Of(const Descriptor& file, std::uint64_t offset, std::uint64_t size,
                     const Advance& advance);

/// @return that of a text
std::string sha256Of(const std::string& text);

/// @return the line that "sha256sum -c" reads, with the name escaped where necessary
std::string checksumLine(const std::string& sum, const std::string& name);

/// Whether a file holds just such a line, with any sum, for this name.
bool isChecksumOf(const Descriptor& file, const std::string& name);

} // namespace velacreate
