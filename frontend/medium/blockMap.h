/// @file
/// The block map of an image: which of its blocks hold data.
#pragma once

#include "support/descriptor.h"

#include <cstdint>
#include <string>

namespace velacreate {

/// Behind the name of the image.
constexpr const char* BLOCK_MAP_ENDING = ".bmap";

/// Writes a new file that bmaptool reads.
/// @param dataEnd  in bytes; all that follows is free
/// @throw Failure
void writeBlockMap(const Descriptor& image, std::uint64_t dataEnd, const std::string& path);

} // namespace velacreate
