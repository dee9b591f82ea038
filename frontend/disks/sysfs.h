/// @file
/// Block devices as the kernel shows them below "/sys".
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace velacreate {

/// @return the directory of a block device, links resolved; one that does not exist when there is no such
/// device
std::filesystem::path deviceDirectory(dev_t device);

/// @return the number of the device that a directory stands for; 0 when there is none
dev_t deviceNumber(const std::filesystem::path& directory);

/// @return the directory of the USB device that a block device's directory is in, such as ".../usb1/1-2";
/// empty when it is on no USB
std::filesystem::path usbDevice(std::filesystem::path directory);

/// @return the text of a file without the blanks around it; empty when it cannot be read
std::string attribute(const std::filesystem::path& file);

/// @return the entries of a directory, links resolved; none when it cannot be read
std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& directory);

/// @return the number of the block device that a path names, links followed; 0 when it names none
dev_t blockDevice(const std::string& path);

} // namespace velacreate
