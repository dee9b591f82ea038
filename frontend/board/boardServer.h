/// @file
/// Shows the board to browsers.
#pragma once

#include "support/descriptor.h"

namespace velacreate {

/// Answers requests until the feed ends.
/// @param listener where connections come in
/// @param feed     events, one on each line; the first one is the whole state
/// @throw Failure
void serveBoard(const Descriptor& listener, const Descriptor& feed);

} // namespace velacreate
