/// @file
/// The USB ports of this machine, by their names in "/sys".
#pragma once

#include <string>

namespace velacreate {

/// A port's name is the kernel's for a device in it: the bus, and the ports on the way, such as "3-1.2".
bool isPortName(const std::string& text);

/// @return such as "usb 3-1.2"
std::string portText(const std::string& port);

/// @return the path of the port's controller below "/sys/devices", such as "pci0000:00/0000:00:14.0"; empty
/// when there is no such bus
std::string controllerOf(const std::string& port);

/// Whether the port's bus has so many ports. A hub on the way may be missing.
bool isOnMachine(const std::string& port);

/// @return the port of the other bus that belongs to the same socket; empty when there is none
std::string peerOf(const std::string& port);

} // namespace velacreate
