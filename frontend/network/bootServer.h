/// @file
/// The program that answers machines on a network.
#pragma once

#include "network/addresses.h"
#include "network/networkPort.h"

#include <optional>

namespace velacreate {

/// Where the network-boot directory stands for the server.
constexpr const char* SERVED_PLACE = "/mnt/package";

/// In a job's process, which starts in the network-boot directory: becomes the server, which sees it without
/// a way out of it.
/// @param range  the addresses to hand out; none where another server does that
/// @throw Failure
[[noreturn]] void becomeServer(const NetworkPort& port, const std::optional<AddressRange>& range);

} // namespace velacreate
