/// @file
/// Numbers and times as text.
#pragma once

#include <cstdint>
#include <string>

namespace velacreate {

/// @return such as "1.5 GiB", in multiples of 1,024
std::string sizeText(std::uint64_t bytes);

/// @return such as "41 MB/s"
std::string rateText(double bytesPerSecond);

/// @return such as "2 min 5 s"
std::string durationText(double seconds);

/// @return such as "2:05"
std::string remainingText(double seconds);

/// @return the local time, such as "2026-11-25 09:28:35"
std::string localTimeText();

/// @return the universal time, such as "2026-11-25T09:28:35Z"
std::string universalTimeText();

} // namespace velacreate
