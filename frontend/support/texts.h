/// @file
/// Numbers and times as text, and what texts consist of.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace velacreate {

/// @return such as "1 file" or "2 files"
std::string counted(std::uint64_t count, const std::string& what);

/// @return such as "1.5 GiB", in multiples of 1,024
std::string sizeText(std::uint64_t bytes);

/// @param text such as "64GiB" or "64 G", in multiples of 1,024; "64GB", in multiples of 1,000; or bytes
/// @return nothing when it is no size
std::optional<std::uint64_t> sizeIn(const std::string& text);

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

/// Whether a text has no characters but letters and digits of ASCII, and these others.
bool isPlain(const std::string& text, const std::string& others);

} // namespace velacreate
