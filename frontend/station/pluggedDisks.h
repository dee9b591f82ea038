/// @file
/// The disks that are plugged in on USB.
#pragma once

#include "disks/disks.h"

#include <string>
#include <vector>

namespace velacreate {

/// A USB disk with a medium in it.
struct PluggedDisk {
    Disk disk;
    std::string port;     ///< such as "3-1.2"
    std::string identity; ///< another one after each plug, and for each card in a reader

    /// Whether it is still plugged in.
    bool isThere() const;
};

/// @return all of them, sorted by name
std::vector<PluggedDisk> pluggedDisks();

/// @return the port and the number of each USB device, such as "3-1.2 17"; the number changes with each plug
std::vector<std::string> pluggedDevices();

} // namespace velacreate
