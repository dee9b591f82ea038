/// @file
/// Where the board is shown.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// Begins to listen, so that nobody else can be there.
/// @param text "[ADDRESS:]PORT", such as "8080", "10.7.0.1:8080" or "[::1]:8080"; without an address, only
/// this machine can reach it
/// @throw Refusal
Descriptor listenAt(const std::string& text);

/// Whether a request is for this machine. A page from elsewhere may have given its own name this machine's
/// address.
/// @param host    the Host field of a request
/// @param machine this machine's own name
bool isOwnHost(const std::string& host, const std::string& machine);

} // namespace velacreate
