/// @file
/// What a machine reads of an ISO 9660 image before any file, to start from it.
#pragma once

#include "medium/contents.h"
#include "support/descriptor.h"

#include <string>
#include <vector>

namespace velacreate {

/// Looks for the boot record of the platform that an image is for, and compares the bytes that it leads to
/// with the file that a machine is to start from.
/// @return a line for each fault: "the boot record is missing", "the boot record does not point to the bytes
/// of 'efibootimg'"
/// @throw Failure when the file's source is not what it was, or the image cannot be read
std::vector<std::string> faultsOfEfiBootRecord(int jobDirectory, const Tree& expected,
                                               const Descriptor& image);
std::vector<std::string> faultsOfPowerPcBootRecord(int jobDirectory, const Tree& expected,
                                                   const Descriptor& image);

} // namespace velacreate
