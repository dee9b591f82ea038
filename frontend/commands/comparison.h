/// @file
/// Media that are only compared.
#pragma once

#include "commands/commands.h"
#include "commands/mediumJob.h"
#include "commands/scratch.h"
#include "disks/discDrive.h"

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// Run in a job's process.
/// @param staged the directory of what was taken in
/// @return a line for each difference
/// @throw Refusal or Failure when the medium cannot be compared
using Compare = std::function<std::vector<std::string>(const Descriptor& staged, Reporter& reporter)>;

/// A medium that is compared with what would be made now.
struct ComparedMedium {
    std::string name; ///< such as "/dev/sdb"
    Compare compare;
};

/// What the comparisons of one call have in common.
struct Comparisons {
    const JobChoices& choices;
    const Inputs& inputs;
    const ScratchDirectory& scratch;
    const HeldSignals& signals;
    Console& console;
};

/// Takes everything in and unpacks it, and compares media with it, side by side. Each difference is a line on
/// standard output.
/// @return their outcomes, in order; when taking in has failed, each is that
std::vector<Outcome> compareMedia(const Comparisons& all, const std::vector<ComparedMedium>& media);

/// An image, a network-boot directory or the like that is compared alone.
struct OpenMedium {
    std::string name; ///< such as "the image '/x/i.iso'"
    std::string path;
    Descriptor file;
};

/// @param kind  such as "the image"
/// @param type  S_IFREG or S_IFDIR
/// @throw Refusal when it cannot be opened, or is of another type
OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type);

/// Compares one such medium with what would be made now, and says it.
/// @return the exit status
int compareAlone(const JobChoices& choices, const Inputs& inputs, const ScratchDirectory& scratch,
                 const OpenMedium& medium, const Compare& compare);

/// Compares the disc in a drive with the image that it was burned from, the same way.
/// @return refused, when there is no disc that could be read
Outcome compareWithImage(const DiscDrive& drive, const Descriptor& image, const HeldSignals& signals,
                         Console& console);

/// In the job's process: begins a stage.
/// @return to be told of what has been compared
Advance beginReadingBack(std::uint64_t size, Reporter& reporter);

/// Waits for the disc.
/// @throw Refusal when there is none
Descriptor takeDisc(const DiscDrive& drive, Reporter& reporter);

} // namespace velacreate
