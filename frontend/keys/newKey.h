/// @file
/// What makes a key of any stick.
#pragma once

#include "disks/disks.h"
#include "job/libraryLogger.h"
#include "job/reporter.h"
#include "support/descriptor.h"

#include <bootableusb.h>

#include <string>

namespace velacreate {

/// The library's builder, which also tells the name of the clone image that it has fitted to a key.
class KeyBuilder : public VelaCreation::BootableUSB {
public:
    using BootableUSB::BootableUSB;

    const std::string& cloneImage() const { return m_cloneFile; }
};

/// In the job's process: writes the clone image, fitted to the stick, over whatever is there. What is left is
/// to format partition 4 and to fill it.
/// @param held        what the stick is held open by
/// @param cloneImage  the name of the one for a stick of this size
/// @param builder     initialized, with this logger
/// @return the result of the library's fitting
/// @throw Failure
int makeNewKey(const Disk& disk, const Descriptor& held, const std::string& cloneImage, KeyBuilder& builder,
               LibraryLogger& logger, Reporter& reporter);

} // namespace velacreate
