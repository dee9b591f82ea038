/// @file
/// The server that machines boot from.
#pragma once

#include "network/addresses.h"
#include "network/networkPort.h"

#include <optional>

namespace velacreate {

constexpr const char* BOOT_SERVER = "dnsmasq"; ///< the program

/// The network-boot directory in the server's mounts.
constexpr const char* SERVED_PLACE = "/mnt/package";

/// In a job's process, in the network-boot directory: becomes the server.
/// @param range to hand out; none when another server does that
/// @throw Failure
[[noreturn]] void becomeServer(const NetworkPort& port, const std::optional<AddressRange>& range);

} // namespace velacreate
