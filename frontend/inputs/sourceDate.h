/// @file
/// The time that an image or a package bears when it is to be the same from the same files.
#pragma once

namespace velacreate {

/// @throw Refusal when SOURCE_DATE_EPOCH is set, but to no time that both an image and an archive can carry
void requireSourceDate();

} // namespace velacreate
