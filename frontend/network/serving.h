/// @file
/// Serves a network-boot directory.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "network/addresses.h"
#include "network/netbootDirectory.h"
#include "network/networkPort.h"

#include <optional>
#include <string>

namespace velacreate {

/// Serves until an interrupt, until the server ends, or until the directory or the port is no longer as it
/// was. Shows each machine.
/// @param scratch  path of a directory for copies of the files
/// @param range to hand out; none when another server does that
/// @return why it ended; nothing after an interrupt
std::optional<std::string> serveMachines(const NetbootDirectory& directory, const std::string& scratch,
                                         const NetworkPort& port, const std::optional<AddressRange>& range,
                                         const HeldSignals& signals, Console& console);

} // namespace velacreate
