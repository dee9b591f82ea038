/// @file
/// Compares media with what would be made now, and discs with their images.
#pragma once

#include "disks/discDrive.h"
#include "medium/call.h"

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// Runs in a job's process.
/// @param staged the directory with what the medium should hold
/// @return a line for each difference
/// @throw Refusal or Failure when the medium cannot be compared
using Compare = std::function<std::vector<std::string>(const Descriptor& staged, Reporter& reporter)>;

struct ComparedMedium {
    std::string name; ///< such as "/dev/sdb"
    Compare compare;
};

/// Stages all files, and compares media with them side by side. Each difference is a line on standard output.
/// @return their outcomes, in order; each is that of the staging when that has failed
std::vector<Outcome> compareMedia(const Call& call, const std::vector<ComparedMedium>& media);

/// A medium that is compared alone.
struct OpenMedium {
    std::string name; ///< such as "the image '/x/i.iso'"
    std::string path;
    Descriptor file;
};

/// @param kind  such as "the image"
/// @param type  S_IFREG or S_IFDIR
/// @throw Refusal when it cannot be opened, or is of another type
OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type);

/// Compares a medium with what would be made now, and shows the result.
/// @return the exit status
int compareAlone(const JobChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                 const OpenMedium& medium, const Compare& compare, Console& console);

/// Compares the disc in a drive with the image that was burned.
/// @return refused, when there is no readable disc
Outcome compareWithImage(const DiscDrive& drive, const Descriptor& image, const HeldSignals& signals,
                         Console& console);

/// @name In the job's process
/// @{

/// Begins a stage.
/// @return to be called with the bytes that have been compared
Advance beginReadingBack(std::uint64_t size, Reporter& reporter);

/// Reports each difference: as a failure when a medium is made, else as a finding.
/// @return EXIT_DIFFERENT, or 0 when there is none
int reportDifferences(const std::vector<std::string>& differences, JobKind kind, const Reporter& reporter);
/// @}

/// Waits for a disc.
/// @throw Refusal when there is none
Descriptor takeDisc(const DiscDrive& drive);

} // namespace velacreate
