/// @file
/// Block devices in "/sys".
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// @return the directory of a block device, with links resolved; a path that does not exist if there is none
/// @throw Failure when "/sys" does not show block devices
std::filesystem::path deviceDirectory(dev_t device);

/// @return the directories of all whole block devices, with links resolved
/// @throw Failure when "/sys" does not show block devices
std::vector<std::filesystem::path> diskDirectories();

/// @return the number of the device in a directory; 0 when there is none
dev_t deviceNumber(const std::filesystem::path& directory);

/// @return the directory of a block device's USB device, such as ".../usb1/1-2"; empty when there is none
std::filesystem::path usbDevice(std::filesystem::path directory);

/// @return the text of a file without the white space around it; empty when it cannot be read
std::string attribute(const std::filesystem::path& file);

/// @return the entries of a directory, with links resolved; none when it cannot be read
std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& directory);

/// @return the number of the block device at a path, links followed; 0 when there is none
dev_t blockDevice(const std::string& path);

} // namespace velacreate
