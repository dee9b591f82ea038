/// @file
/// The time in images and network-boot directories that can be made again bit for bit.
#pragma once

namespace velacreate {

/// @throw Refusal when SOURCE_DATE_EPOCH is set to a time that an image or an archive cannot hold
void requireSourceDate();

} // namespace velacreate
