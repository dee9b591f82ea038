// What is known of a key, put into words. No I/O.
#ifndef VELACREATION_KEYDESCRIPTION_H
#define VELACREATION_KEYDESCRIPTION_H

#include <cstdint>
#include <string>

namespace VelaCreation {

/// The number of sectors that stands for a size that cannot be read.
constexpr std::uint32_t CAPACITY_UNKNOWN = 0xFFFFFFFF;

/// A number of sectors as a size with its unit, such as 7.455GB.
std::string sizeText(std::uint32_t sectors);

/// The last name in a device path, such as sdb.
std::string deviceName(std::string devicePath);

/// Whether a line of the kernel's SCSI list opens the entry of a device under the SCSI host with this number.
bool namesHost(const std::string& line, const std::string& hostNumber);

/// A column of a line, as far as the line reaches.
std::string column(const std::string& line, std::string::size_type start, std::string::size_type width);

} // namespace VelaCreation

#endif
