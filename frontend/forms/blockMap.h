/// @file
/// The map of an image: which of its blocks hold data, with their sums, in the form that bmaptool reads.
#pragma once

#include "forms/byteMap.h"
#include "support/descriptor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

constexpr const char* BLOCK_MAP_ENDING = ".bmap"; ///< behind the name of the image

struct MappedRange {
    ByteRange range;
    std::string sum; ///< SHA-256
};

/// @param text  of a map
/// @return the ranges, in order and within the image
/// @throw Refusal when it is no map, has a wrong sum, or is that of an image of another size
std::vector<MappedRange> readBlockMap(const std::string& text, std::uint64_t imageSize);

/// Works out the sums of several ranges side by side.
/// @param advance  called by one thread at a time
/// @return in their order
/// @throw Failure
std::vector<std::string> sumsOf(const Descriptor& image, const std::vector<ByteRange>& ranges,
                                const Advance& advance);

/// Writes a new map.
/// @param dataEnd  in bytes; all that follows is free
/// @throw Failure
void writeBlockMap(const Descriptor& image, std::uint64_t dataEnd, const std::string& path);

} // namespace velacreate
