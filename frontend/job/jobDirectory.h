/// @file
/// The directory of a job.
#pragma once

#include "job/callerEnvironment.h"
#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// The job directory in a job's own mounts.
constexpr const char* OWN_PLACE = "/mnt/job";

/// A fresh directory that only its user can enter. The supervisor makes it, and removes it however the job
/// ends. It holds the update files as they will be on the medium, the tool package (as "tool.zip", or
/// unpacked to be compared with), and the library folder. It is used through its descriptor only, since the
/// owner of its parent may rename it. It is locked: one without a lock has lost its supervisor, and the next
/// job beside it removes it.
class JobDirectory {
public:
    /// @param parent  must outlive this
    /// @throw Failure
    explicit JobDirectory(const NamedDirectory& parent);
    ~JobDirectory();
    JobDirectory(const JobDirectory&) = delete;
    JobDirectory& operator=(const JobDirectory&) = delete;

    const Descriptor& directory() const { return m_directory; }

    /// Makes all that is in it new, for programs that remove old files.
    void refresh() const;

    /// Keeps it for the user.
    /// @return its new path
    std::string keep();

private:
    const NamedDirectory& m_parent;
    std::string m_name;
    Descriptor m_directory;
};

/// The parent of job directories for jobs whose output is not a file.
/// @param chosen by the user; when empty, TMPDIR or "/var/tmp"
/// @throw Refusal when it is not writable
NamedDirectory scratchDirectory(const std::string& chosen, const CallerEnvironment& caller);

/// Removes everything in a directory. Links are not followed, and mounts are not entered.
/// @param besides a name at its top that stays
void removeContents(const Descriptor& directory, const std::string& besides = "");

/// Puts everything in a directory into another one, too: as links, or as copies where the file system has no
/// links.
/// @param besides a name at its top that is left out
/// @throw Failure
void linkContents(const Descriptor& from, const Descriptor& to, const std::string& besides = "");

/// @return the size of all files at a path below a directory; 0 when there is nothing
std::uint64_t sizeBelow(int directory, const std::string& path);

/// @name In the job's process, which starts in its job directory
/// @{

/// Enters the library folder of the job directory. With mounts of its own, the job directory is then at a
/// path that every command can hold and nobody else can change, and "/mnt" holds only what the job mounts.
/// @throw Refusal when it has no such mounts, and a command cannot hold the path; Failure
void enterJobDirectory();

/// Opens a user's file again, in this process's own mounts, before the job directory is entered. A file that
/// was opened outside these mounts could not be mounted.
/// @throw Failure when it is another file by now
Descriptor openAgain(const Descriptor& file, const std::string& path);

/// Puts such a file at a name in the current directory, without copying it.
void placeFile(const Descriptor& file, const std::string& path, const std::string& name);
/// @}

} // namespace velacreate
