/// @file
/// What the making of an image, a key and a package begin and end with.
#pragma once

#include "commands/commands.h"
#include "display/console.h"
#include "inputs/toolPackage.h"
#include "inputs/updateFiles.h"
#include "job/jobDirectory.h"
#include "job/output.h"
#include "job/reporter.h"
#include "job/supervisor.h"
#include "medium/contents.h"

#include <functional>
#include <string>
#include <vector>

namespace velacreate {

/// Checked; nothing has been done yet.
struct Inputs {
    /// @throw Refusal
    Inputs(const JobChoices& choices, Medium medium);

    ToolPackage package;
    UpdateFiles updates;
    Contents contents;

    /// Refuses a file or directory to write to that is one of these.
    /// @param what  for the message, such as "the output '/x/i.iso'"
    void requireOther(const struct stat& file, const std::string& what) const;

    /// The same, for an output: neither it nor what it replaces may be among these, nor may it lie in a
    /// chosen directory.
    void requireOther(const Output& output) const;

    /// Says what is begun, and what the user might not expect of it.
    /// @param beginning  such as "Making the image '/x/i.iso' from"
    void announce(Console& console, const std::string& beginning) const;

    /// Refuses a job for which there is too little free space: for what is taken in, for the package as often
    /// as it is unpacked, and for the medium itself, as often as it is written there.
    void requireRoom(const Descriptor& directory, const std::string& where, std::size_t timesUnpacked,
                     std::size_t copiesOfMedium) const;
};

/// Refuses a log file that is a medium, or in it.
void requireOtherLog(const ShowChoices& choices, const std::string& medium);

/// Opens the console; the log file is the last thing to be checked, as it is made.
/// @param medium  the path of what is made, filled or burned, if it has one: it is not to be written to by
/// the log
/// @param inputs  nor to any of these, if there are any
/// @throw Refusal
Console openConsole(const ShowChoices& choices, const std::string& medium, const Inputs* inputs = nullptr);

/// In the job's process: copies what a medium is made from into a job directory.
/// @throw Refusal or Failure when that is not what it was any more
void stage(const Inputs& inputs, const Descriptor& jobDirectory, Reporter& reporter);

/// Does that in a job of its own, for several media.
/// @param andThen  done last, in the same process
/// @return interrupted, also when it had just ended by itself
Outcome stageShared(const JobDirectory& sharedStaging, const Inputs& inputs, const HeldSignals& signals,
                    Console& console,
                    const std::function<void(const Descriptor& staged, Reporter& reporter)>& andThen);

/// In the job's process, which starts in its job directory: enters it, so that the library can work there.
/// The current directory is then the launchers' folder.
/// @return the job directory
Descriptor enterLibraryFolder(bool keepPauses, Reporter& reporter);

/// In the job's process: tells of each difference.
/// @return EXIT_DIFFERENT, or 0 when there is none
int judge(const std::vector<std::string>& differences, const Reporter& reporter);

/// In the job's process: reads what was made back, and flushes it to the disk meanwhile.
/// @param path     a file, or a directory with all that is in it
/// @param size     how much is to be read back, unless the user does not want it
/// @param compare  finds the differences
/// @return as of `judge`
/// @throw Failure
int finish(const JobChoices& choices, const Descriptor& jobDirectory, const std::string& path,
           std::uint64_t size, const std::function<std::vector<std::string>(const Advance&)>& compare,
           Reporter& reporter);

/// In the job's process: removes what it has in the job directory but the output, so that the supervisor has
/// not to, with other media to look after.
void tidyUp(const JobChoices& choices, const Descriptor& jobDirectory);

/// The job of an image or of a network-boot directory.
struct OutputJob {
    const JobChoices& choices;
    const Inputs& inputs;
    const Output& output;
    std::string medium;       ///< such as "the image '/x/i.iso'"
    std::string made;         ///< where it grows, below the job directory
    std::string stagingStage; ///< the library's name of the stage that fills the staging directory
    std::string makingStage;  ///< and of the one that makes the output of it
    std::function<int(Reporter&)> work;
    const Output* checksum = nullptr; ///< of a file that the work makes besides, if it does
    std::string madeChecksum = {};    ///< where
    std::string afterword = {};       ///< said when all is in place, if anything
};

/// Runs it, and puts what was made in place.
/// @return the exit status
int makeOutput(const OutputJob& job);

/// Keeps the job directory and names it, when the user wants it.
void leave(const JobChoices& choices, JobDirectory& jobDirectory, Console& console);

/// ", read back", where it was.
std::string readBackText(bool wasReadBack);

} // namespace velacreate
