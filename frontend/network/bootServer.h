/// @file
/// The server that machines boot from.
#pragma once

#include "network/addresses.h"
#include "network/netbootDirectory.h"
#include "network/networkPort.h"

#include <cstddef>
#include <optional>
#include <string>

namespace velacreate {

constexpr const char* BOOT_SERVER = "dnsmasq"; ///< the program

/// That get an address and are shown. A machine can use any number of hardware addresses.
constexpr std::size_t MOST_MACHINES = 10000;

/// In a job's process: becomes the server of a network-boot directory.
/// @param scratch  path of a directory for copies of the files
/// @param range to hand out; none when another server does that
/// @throw Failure
[[noreturn]] void becomeServer(const NetbootDirectory& directory, const std::string& scratch,
                               const NetworkPort& port, const std::optional<AddressRange>& range);

} // namespace velacreate
