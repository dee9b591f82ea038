/// @file
/// Makes a key of any stick.
#pragma once

#include "disks/disks.h"
#include "job/libraryLogger.h"
#include "job/reporter.h"
#include "support/descriptor.h"

#include <bootableusb.h>

#include <string>

namespace velacreate {

/// The library's builder, with the name of the clone image that it has fitted.
class KeyBuilder : public VelaCreation::BootableUSB {
public:
    using BootableUSB::BootableUSB;

    const std::string& cloneImage() const { return m_cloneFile; }
};

/// In the job's process: writes the fitted clone image over the whole stick. Partition 4 is then to be
/// formatted and filled.
/// @param held the open stick
/// @param cloneImage for a stick of this size
/// @param builder initialized with this logger
/// @return the result of the library's fitting
/// @throw Failure
int makeNewKey(const Disk& disk, const Descriptor& held, const std::string& cloneImage, KeyBuilder& builder,
               LibraryLogger& logger, Reporter& reporter);

} // namespace velacreate
