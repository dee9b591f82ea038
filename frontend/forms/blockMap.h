/// @file
/// The map of an image: which of its blocks hold data, with their sums, in the form that bmaptool reads.
#pragma once

#include "forms/byteMap.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

constexpr const char* MAP_ENDING = ".bmap"; ///< behind the name of the image

struct MappedRange {
    ByteRange range;
    std::string sum; ///< SHA-256
};

/// @param text  of a map
/// @return the ranges, in order and within the image
/// @throw Refusal when it is no map, has a wrong sum, or is that of an image of another size
std::vector<MappedRange> readBlockMap(const std::string& text, std::uint64_t imageSize);

} // namespace velacreate
