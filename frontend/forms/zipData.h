/// @file
/// The data of a member of a zip archive.
#pragma once

#include "forms/examination.h"
#include "forms/zipHeaders.h"

#include <string>

namespace velacreate {

/// Compares the data of a file, stored or deflated, with its source, and the checksum with both. Adds a
/// difference. Ends where the content is longer than expected.
/// @param place  of the file, for messages
/// @param offset  of the data; all of them must be on the medium
void compareZipData(const Examination& examination, const ZipMember& member, const std::string& place,
                    const Part& part, std::uint64_t offset);

} // namespace velacreate
