/// @file
/// The directory in which a job lives.
#pragma once

#include "job/callerEnvironment.h"
#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// A fresh directory that nobody else may enter, made by the supervisor and removed by it whatever happens to
/// the job. It holds the update files as they will stand on the medium, the tool package as "tool.zip", and
/// the launchers' folder. It is worked on through its descriptor only: whoever owns the directory that it
/// lies in may rename it. It is locked; one without a lock has lost its supervisor, and goes when the next
/// one is made beside it.
class JobDirectory {
public:
    /// @param parent  must outlive this
    /// @throw Failure
    explicit JobDirectory(const NamedDirectory& parent);
    ~JobDirectory();
    JobDirectory(const JobDirectory&) = delete;
    JobDirectory& operator=(const JobDirectory&) = delete;

    const Descriptor& directory() const { return m_directory; }

    /// Leaves it for the user to look at.
    /// @return its path from now on
    std::string keep();

private:
    const NamedDirectory& m_parent;
    std::string m_name;
    Descriptor m_directory;
};

/// Where the job directories lie of jobs that have no output on this machine's disks.
/// @param chosen  by the user; if empty, TMPDIR or "/var/tmp" is taken
/// @throw Refusal when it cannot be written to
NamedDirectory scratchDirectory(const std::string& chosen, const CallerEnvironment& caller);

/// Removes all that is in a directory, over no link and no mount.
/// @param besides  what stays at its top, if anything
void removeContents(const Descriptor& directory, const std::string& besides = "");

/// Lets all that is in a directory stand in another one as well: files by links, which takes no space, or
/// copied where the file system has none.
/// @param besides  what is left out at its top
/// @throw Failure
void linkContents(const Descriptor& from, const Descriptor& to, const std::string& besides = "");

/// @return the size of all files at a path below a directory, or of the file that is there; 0 when nothing is
/// there
std::uint64_t sizeBelow(int directory, const std::string& path);

/// @name In the job's process, which starts in its job directory
/// @{

/// Enters the launchers' folder of the job directory. With mounts of its own, the job directory then stands
/// at a path that every command can carry and no one else can change, and "/mnt" holds nothing but what the
/// job mounts.
/// @throw Refusal when there are no such mounts and a command could not carry the job directory's path;
/// Failure
void enterJobDirectory();

/// Opens a file of the user's again before the job directory is entered, in the mounts of this process: what
/// was opened before they were its own could not be mounted.
/// @throw Failure when it is another file now
Descriptor openAgain(const Descriptor& file, const std::string& path);

/// Lets such a file stand under a name in the current directory, as it is and not as a copy.
void placeFile(const Descriptor& file, const std::string& path, const std::string& name);
/// @}

} // namespace velacreate
