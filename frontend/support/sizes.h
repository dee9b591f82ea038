/// @file
/// Sums of sizes that strangers tell.
#pragma once

#include <algorithm>
#include <cstdint>

namespace velacreate {

/// More than any disk has, and little enough that a few of them can be added up.
constexpr std::uint64_t LARGEST_SUM = std::uint64_t{1} << 60;

/// Adds two sizes, up to the largest sum.
constexpr std::uint64_t sumOf(std::uint64_t one, std::uint64_t other) {
    return std::min(std::min(one, LARGEST_SUM) + std::min(other, LARGEST_SUM), LARGEST_SUM);
}

} // namespace velacreate
