/// @file
/// What a mistyped word was meant to be.
#pragma once

#include <string>
#include <vector>

namespace velacreate {

/// @return the known word that takes the fewest changed, missing or additional letters; empty when each takes
/// more than two
std::string nearestTo(const std::string& word, const std::vector<std::string>& known);

} // namespace velacreate
