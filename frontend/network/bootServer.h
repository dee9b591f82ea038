/// @file
/// The program that answers machines on a network.
#pragma once

#include "network/addresses.h"
#include "network/networkPort.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// Where the package stands for the server.
constexpr const char* SERVED_PLACE = "/mnt/package";

/// @param range  the addresses to hand out; none where another server does that
std::vector<std::string> serverCommand(const NetworkPort& port, const std::optional<AddressRange>& range);

/// In a job's process, which starts in the package: becomes the server, which sees it without a way out of
/// it.
/// @throw Failure
[[noreturn]] void becomeServer(const NetworkPort& port, const std::optional<AddressRange>& range);

} // namespace velacreate
