/// @file
/// What is on a disk, for people.
#pragma once

#include "disks/disks.h"
#include "support/json.h"

#include <string>

namespace velacreate {

/// Lists partitions in order, with their number if it differs from their position.
/// - "GPT: vfat 'BOOT', ext4", "MBR: vfat 'KEY' on 4", "MBR: no partition"
/// - "vfat 'STICK', no partition table"
/// - "blank", or "unrecognised" when there is unknown data
/// - "not readable", or "unknown" when the user may not read it
std::string contentOf(const Disk& disk);

/// What is on a disc that is not blank.
/// @param size in bytes, if it is known
/// - "volume 'BOOT', 123.0 MiB"
/// - "data without a name, 650.0 MiB"
std::string contentOfDisc(const Descriptor& disc, std::uint64_t size);

/// What identifies a disk, for programs: "node", "port", "vendor", "model", "serial" and "size".
Json jsonOf(const std::string& node, const DiskDescription& about);

} // namespace velacreate
