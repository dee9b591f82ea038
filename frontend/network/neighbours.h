/// @file
/// The machines that this one has just talked to.
#pragma once

#include "network/addresses.h"

#include <string>

namespace velacreate {

/// @return the hardware address that the kernel knows for an address on a port; empty when it knows none
std::string hardwareAddressOf(Address address, const std::string& port);

} // namespace velacreate
