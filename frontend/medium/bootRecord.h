/// @file
/// The boot record of an ISO 9660 image.
#pragma once

#include "medium/contents.h"
#include "support/descriptor.h"

#include <string>
#include <vector>

namespace velacreate {

/// Compares the bytes that the boot record points to with the boot file.
/// @return a line for each fault: "the boot record is missing", "the boot record does not point to the bytes
/// of 'efibootimg'"
/// @throw Failure when the boot file in the job directory has changed, or the image cannot be read
std::vector<std::string> faultsOfEfiBootRecord(int jobDirectory, const Tree& expected,
                                               const Descriptor& image);
std::vector<std::string> faultsOfPowerPcBootRecord(int jobDirectory, const Tree& expected,
                                                   const Descriptor& image);

} // namespace velacreate
