/// @file
/// Where the job directory of a job lies that leaves nothing on a disk of this machine.
#pragma once

#include "job/callerEnvironment.h"
#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// The directory that the user chose, else the one that TMPDIR names, else "/var/tmp".
class ScratchDirectory {
public:
    /// @throw Refusal when it cannot be written to
    ScratchDirectory(const std::string& chosen, const CallerEnvironment& caller);

    const Descriptor& directory() const { return m_directory; }
    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    Descriptor m_directory;
};

/// @return the path of something that exists, from the root
/// @throw Refusal
std::string absolutePath(const std::string& path);

} // namespace velacreate
