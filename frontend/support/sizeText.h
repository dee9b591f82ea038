/// @file
/// Sizes for people.
#pragma once

#include <cstdint>
#include <string>

namespace velacreate {

/// Sizes with a unit, in multiples of 1,024, such as "1.5 GiB".
std::string sizeText(std::uint64_t bytes);

} // namespace velacreate
