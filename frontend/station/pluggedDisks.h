/// @file
/// The disks that are plugged in on USB.
#pragma once

#include "disks/disks.h"

#include <set>
#include <string>
#include <vector>

namespace velacreate {

/// A USB disk.
struct PluggedDisk {
    Disk disk;
    std::string port;     ///< such as "3-1.2"
    std::string identity; ///< another one after each plug, and for each card in a reader

    /// @return the identity without what a card changes, such as "3-1.2 17"
    std::string device() const { return identity.substr(0, identity.rfind(' ')); }

    /// Whether it is still plugged in.
    bool isThere() const;
};

/// @return all that have a medium, sorted by name
std::vector<PluggedDisk> pluggedDisks();

/// @return all USB devices, in the words of PluggedDisk::device()
std::set<std::string> usbDevices();

/// @return those of them that are no disks, or none yet
std::set<std::string> devicesWithoutDisk();

/// @return the card readers that have no card
std::vector<PluggedDisk> emptyReaders();

} // namespace velacreate
