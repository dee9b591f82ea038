// Formats and parses the description of a key. No I/O.
#ifndef VELACREATION_KEYDESCRIPTION_H
#define VELACREATION_KEYDESCRIPTION_H

#include <cstdint>
#include <string>

namespace VelaCreation {

/// The number of sectors when the size cannot be read.
constexpr std::uint32_t CAPACITY_UNKNOWN = 0xFFFFFFFF;

/// @return such as "7.455GB"
std::string sizeText(std::uint32_t sectors);

/// @return the last name in a device path, such as "sdb"
std::string deviceName(std::string devicePath);

/// Whether a line of the kernel's SCSI list starts the entry of a device on the SCSI host with this number.
bool namesHost(const std::string& line, const std::string& hostNumber);

/// @return a column of a line; shorter or empty when the line ends earlier
std::string column(const std::string& line, std::string::size_type start, std::string::size_type width);

} // namespace VelaCreation

#endif
