/// @file
/// SOURCE_DATE_EPOCH, the time in reproducible images and network-boot directories.
#pragma once

namespace velacreate {

/// @throw Refusal when SOURCE_DATE_EPOCH is set to a time that an image or an archive cannot hold
void requireSourceDate();

} // namespace velacreate
