/// @file
/// Compares media with what would be made now, and discs with their images.
#pragma once

#include "disks/discDrive.h"
#include "medium/call.h"
#include "medium/imageBlocks.h"
#include "medium/readBack.h"

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

struct ComparedMedium {
    std::string name; ///< such as "/dev/sdb"
    ReadMedium medium;
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

/// @param medium  such as "the image"
/// @return such as "Every byte of the image is explained: 5 boot files, 2 update files"
std::string explanationText(const std::string& medium, const Contents& contents);

/// @param kind  such as "the image"
/// @param type  S_IFREG or S_IFDIR
/// @throw Refusal when it cannot be opened, or is of another type
OpenMedium openToCompare(const std::string& kind, const std::string& path, mode_t type);

/// @return what ends the events of a medium when its job has ended
std::function<void(const Outcome&)> endsEvents(const std::string& medium, Console& console);

/// Compares a medium with what would be made now, and shows the result.
/// @return the exit status
int compareAlone(const JobChoices& choices, const Inputs& inputs, const NamedDirectory& scratch,
                 const OpenMedium& medium, const ReadMedium& read, Console& console);

/// Compares the disc in a drive with the image that was burned.
/// @return refused, when there is no readable disc
Outcome compareWithImage(const DiscDrive& drive, const Descriptor& image, const HeldSignals& signals,
                         Console& console);

/// @name In the job's process
/// @{

/// Compares a medium in a confined process. Reports each difference: as a failure when a medium is made, else
/// as a finding; and what is on a key besides.
/// @param directory with the sources
/// @return EXIT_DIFFERENT, or 0 when there is no difference
int compareConfined(const Descriptor& directory, const Inputs& inputs, const ReadMedium& medium, JobKind kind,
                    Reporter& reporter);

/// Compares a key with its image in the same way.
/// @param directory  to which the process is confined
int compareBlocksConfined(const Descriptor& directory, const ImageBlocks& image, const ReadMedium& key,
                          JobKind kind, Reporter& reporter);

/// @name Compare a medium in the same way, but only to the first difference, which is not reported
/// @return EXIT_DIFFERENT, or 0 when there is no difference
/// @{
int compareToFirstDifference(const Descriptor& directory, const Inputs& inputs, const ReadMedium& medium,
                             Reporter& reporter);
int compareBlocksToFirstDifference(const Descriptor& directory, const ImageBlocks& image,
                                   const ReadMedium& key, Reporter& reporter);
/// @}

/// Examines in a confined process whether a key can be filled as it is: nothing is on it that is not
/// expected, unless it may keep files, and its file system is sound.
/// @param faulty called there with the first fault, if any
/// @return 0, or what it returns
int examineForm(const Descriptor& directory, const Inputs& inputs, ReadMedium medium,
                const std::function<int(const std::string& fault)>& faulty, Reporter& reporter);
/// @}

/// Waits for a disc.
/// @throw Refusal when there is none
Descriptor takeDisc(const DiscDrive& drive);

} // namespace velacreate
