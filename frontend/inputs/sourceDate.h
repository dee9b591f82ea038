/// @file
/// SOURCE_DATE_EPOCH, the time in reproducible images and network-boot directories.
#pragma once

namespace velacreate {

constexpr const char* SOURCE_DATE = "SOURCE_DATE_EPOCH"; ///< the name of the variable

/// @throw Refusal when SOURCE_DATE_EPOCH is set to a time that an image or an archive cannot hold
void requireSourceDate();

} // namespace velacreate
