/// @file
/// The root directory of a server.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// In a job's process with mounts of its own: a root directory that holds only programs, their libraries, two
/// devices and copies of files. Nobody can write to it. The copies have no names outside it, and lie in the
/// directory in which the process was started.
class ServerRoot {
public:
    /// @throw Failure
    ServerRoot();

    /// Shows a program, or a module of one, with its libraries. Its path stays the same.
    /// @throw Failure
    void addProgram(const std::string& path) const;

    /// Copies a file.
    /// @param place  an absolute path in the root directory
    /// @throw Failure
    void addCopy(const Descriptor& file, const std::string& place) const;

    /// Makes a small file.
    /// @throw Failure
    void addText(const std::string& text, const std::string& place) const;

    /// Shows a file system that was not mounted anywhere.
    /// @throw Failure
    void addMount(const Descriptor& fileSystem, const std::string& place) const;

    /// @throw Failure
    void enter() const;

private:
    Descriptor m_forCopies;
};

} // namespace velacreate
