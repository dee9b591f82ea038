/// @file
/// Serves machines that boot from a network.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "network/bootService.h"
#include "network/machineNames.h"

#include <optional>
#include <string>

namespace velacreate {

/// Serves until an interrupt, until a server ends, or until what is served or the port is no longer as it
/// was. Shows each machine.
/// @param scratch  for copies of the files
/// @return why it ended; nothing after an interrupt
std::optional<std::string> serveMachines(const BootService& service, const Descriptor& scratch,
                                         const MachineNames& names, const HeldSignals& signals,
                                         Console& console);

} // namespace velacreate
