/// @file
/// JSON for programs. Its library compiles slowly, so only files that make or read JSON include its header.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace velacreate {

using Json = nlohmann::ordered_json;

/// @return an object or a list as text, with a line feed at its end; what is not UTF-8 is replaced
/// @param indent of each level; on one line when it is negative
std::string textOf(const Json& json, int indent = -1);

} // namespace velacreate
