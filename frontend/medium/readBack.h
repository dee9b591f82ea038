/// @file
/// Reads media, and compares each of their bytes with what should be there. Nothing is mounted.
#pragma once

#include "forms/keyRecord.h"
#include "inputs/toolPackage.h"
#include "medium/contents.h"
#include "medium/differences.h"
#include "medium/sources.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// A medium that is read back or verified.
struct ReadMedium {
    const Descriptor& file;               ///< a file, a disk, or a network-boot directory
    std::uint64_t size = 0;               ///< in bytes; not of a directory
    bool isDisc = false;                  ///< a drive has more blocks behind a disc's volume
    bool isKeyImage = false;              ///< somebody else may have made it
    OtherFiles others = OtherFiles::none; ///< on a key
    bool isFormOnly = false;              ///< the content of files is not compared
};

/// What should be on a medium.
struct Comparison {
    Sources& sources; ///< of the contents
    const KeyHead& head;
    const Contents& contents;
    const ReadMedium& medium;
    Advance advance;
};

struct Findings {
    Differences differences;
    std::vector<std::string> notes;
    std::uint64_t keptFiles = 0; ///< that are not of the job
    std::uint64_t keptBytes = 0; ///< which were not looked at
};

/// Reads the bytes of a medium. It can run in a process that opens no files but the sources.
using Examine = std::function<void(Findings& findings)>;

/// @name Opens all that must be read, and compares what has no form. One for each kind of medium.
/// @param comparison  must outlive the result
/// @throw Failure when a source has changed, or the medium cannot be read
/// @{
Examine compareEfiImage(const Comparison& comparison, Findings& findings);
Examine comparePowerPcImage(const Comparison& comparison, Findings& findings);
Examine compareKey(const Comparison& comparison, Findings& findings);
Examine compareNetbootDirectory(const Comparison& comparison, Findings& findings);
/// @}

/// @param package  must outlive the result
/// @return what its clone images tell
KeyHead headOfKeys(const ToolPackage& package);

/// What formatting would not change on a stick.
struct Obstacles {
    Differences bootRecord; ///< what lies before the file system is not that of a key
    Differences leftovers;  ///< marks of something else in space that would be free
};
Obstacles obstaclesOn(const ReadMedium& stick, const ToolPackage& package);

/// Compares a directory, without following links.
/// @param ignored names that may be there, too
/// @throw Refusal for a link, a FIFO or a device in the place of a file; Failure for an unreadable file
void compareDirectory(const Comparison& comparison, const Tree& expected,
                      const std::vector<std::string>& ignored, Differences& differences);

/// Adds a difference for a mode with setuid, setgid or sticky.
void refuseSpecialMode(const Descriptor& file, const std::string& place, Differences& differences);

/// Adds a difference when a disc has a session behind the one at its beginning.
void refuseLaterSession(const Descriptor& disc, Differences& differences);

/// Adds a difference for each file system, RAID or partition table that libblkid finds on a disc besides the
/// volume at its beginning. A mark is not found where the disc cannot be read.
/// @param hasPartitions  whether the volume has a partition table itself
void refuseOtherMarks(const Descriptor& disc, bool hasPartitions, Differences& differences);

/// Compares a disc with its image. What is behind the image's end is padding, if it is no other session.
/// @return the first difference; none when they are the same
/// @throw Failure when the image has changed
Differences compareDisc(const Descriptor& image, const Descriptor& disc, const Advance& advance);

} // namespace velacreate
