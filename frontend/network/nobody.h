/// @file
/// The user of a server.
#pragma once

#include <vector>

namespace velacreate {

/// Becomes a user without privileges but these capabilities. No program that it runs can get more.
/// @throw Failure
void becomeNobody(const std::vector<unsigned>& capabilities);

} // namespace velacreate
