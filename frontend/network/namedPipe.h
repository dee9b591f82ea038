/// @file
/// A pipe for a program that opens files by their paths only.
#pragma once

#include "support/descriptor.h"

namespace velacreate {

/// A pipe on a file system of its own, which is mounted nowhere at first.
class NamedPipe {
public:
    static constexpr const char* NAME = "pipe"; ///< on that file system; everybody can write to it

    /// @throw Failure
    NamedPipe();

    const Descriptor& fileSystem() const { return m_fileSystem; }
    /// Does not wait for writers.
    const Descriptor& reader() const { return m_reader; }

private:
    Descriptor m_fileSystem;
    Descriptor m_reader;
};

} // namespace velacreate
