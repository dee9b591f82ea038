/// @file
/// Media that are compared with what would be made now, or with the image that they were burned from.
#pragma once

#include "disks/discDrive.h"
#include "medium/call.h"

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// Run in a job's process.
/// @param staged  the directory with the files that the medium should hold
/// @return a line for each difference
/// @throw Refusal or Failure when the medium cannot be compared
using Compare = std::function<std::vector<std::string>(const Descriptor& staged, Reporter& reporter)>;

struct ComparedMedium {
    std::string name; ///< such as "/dev/sdb"
    Compare compare;
};

/// Stages all files, and compares media with them, side by side. Each difference is a line on standard
/// output.
/// @return their outcomes, in order; when the staging has failed, each is that of the staging
std::vector<Outcome> compareMedia(const Call& call, const std::vector<ComparedMedium>& media);

/// An image, a network-boot directory or another medium that is compared alone.
struct OpenMedium {
    std::string name; ///< such as "the image '/x/i.iso'"
    std::string path;
    Descriptor file;
};

/// @param kind  such as "the image"
/// @param type  S_IFREG or S_IFDIR
/// @throw Refusal when it cannot be opened, or is of another type
OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type);

/// Compares one such medium with what would be made now, and says the result.
/// @return the exit status
int compareAlone(const JobChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                 const OpenMedium& medium, const Compare& compare, Console& console);

/// Compares the disc in a drive with the image that it was burned from, the same way.
/// @return refused, when there is no disc that could be read
Outcome compareWithImage(const DiscDrive& drive, const Descriptor& image, const HeldSignals& signals,
                         Console& console);

/// @name In the job's process
/// @{

/// Begins a stage.
/// @return to be told of what has been compared
Advance beginReadingBack(std::uint64_t size, Reporter& reporter);

/// Reports each difference: as a failure of what is being made, or else as what was looked for.
/// @return EXIT_DIFFERENT, or 0 when there is none
int reportDifferences(const std::vector<std::string>& differences, JobKind kind, const Reporter& reporter);
/// @}

/// Waits for the disc.
/// @throw Refusal when there is none
Descriptor takeDisc(const DiscDrive& drive);

} // namespace velacreate
