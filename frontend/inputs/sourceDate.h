/// @file
/// SOURCE_DATE_EPOCH, the time in reproducible images and network-boot directories.
#pragma once

#include <ctime>

namespace velacreate {

constexpr const char* SOURCE_DATE = "SOURCE_DATE_EPOCH"; ///< the name of the variable

/// @throw Refusal when SOURCE_DATE_EPOCH is set to a time that an image or an archive cannot hold
void requireSourceDate();

/// @return SOURCE_DATE_EPOCH, which was checked before; without it the time of now
std::time_t timeOfFiles();

} // namespace velacreate
