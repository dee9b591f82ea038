/// @file
/// The server as it runs, and what it tells.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "network/addresses.h"
#include "network/netbootDirectory.h"
#include "network/networkPort.h"

#include <optional>
#include <string>

namespace velacreate {

/// Serves a directory until an interrupt, or until the server ends or what it serves, or on, is gone. Shows
/// each machine meanwhile, and says at the end what became of it.
/// @param range  the addresses to hand out; none where another server does that
/// @return why it ended; nothing when the user wanted it to
std::optional<std::string> serveMachines(const NetbootDirectory& directory, const NetworkPort& port,
                                         const std::optional<AddressRange>& range, const HeldSignals& signals,
                                         Console& console);

} // namespace velacreate
