/// @file
/// The server that tells machines what to boot, and sends them the files of a network-boot directory.
#pragma once

#include "network/bootService.h"

#include <cstddef>

namespace velacreate {

constexpr const char* BOOT_SERVER = "dnsmasq"; ///< the program

/// The files of the network-boot directory in the server's root directory.
constexpr const char* SERVED_PLACE = "/mnt/package";

/// That get an address and are shown. A machine can use any number of hardware addresses.
constexpr std::size_t MOST_MACHINES = 10000;

/// @param files  where those for TFTP are
/// @return lines of the server's configuration
std::vector<std::string> bootSettings(const BootService& service, const std::string& files);

/// In a job's process: becomes the server.
/// @throw Failure
[[noreturn]] void becomeBootServer(const BootService& service);

} // namespace velacreate
