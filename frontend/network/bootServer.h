/// @file
/// The server that machines boot from.
#pragma once

#include "network/addresses.h"
#include "network/netbootDirectory.h"
#include "network/networkPort.h"

#include <optional>
#include <string>

namespace velacreate {

constexpr const char* BOOT_SERVER = "dnsmasq"; ///< the program

/// In a job's process: becomes the server of a network-boot directory.
/// @param scratch  path of a directory for copies of the files
/// @param range to hand out; none when another server does that
/// @throw Failure
[[noreturn]] void becomeServer(const NetbootDirectory& directory, const std::string& scratch,
                               const NetworkPort& port, const std::optional<AddressRange>& range);

} // namespace velacreate
