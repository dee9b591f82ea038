/// @file
/// The service in files, for servers of one's own.
#pragma once

#include "display/console.h"
#include "job/heldSignals.h"
#include "job/outcome.h"
#include "job/output.h"
#include "network/bootService.h"

namespace velacreate {

/// Refuses a path that the configurations cannot hold.
void requirePrintable(const Output& place);

/// Writes the configurations of the servers that the service needs, and beside them the files that they
/// serve. The directory gets all of that at once, or stays as it is.
/// @throw Failure
Outcome printConfiguration(const BootService& service, const Output& place, const HeldSignals& signals,
                           Console& console);

} // namespace velacreate
