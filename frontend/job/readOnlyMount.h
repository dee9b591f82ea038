/// @file
/// A key that is only to be read.
#pragma once

#include "support/descriptor.h"

#include <string>

namespace velacreate {

/// The FAT file system of a key, mounted in a job's own mounts for as long as this lives.
class ReadOnlyMount {
public:
    /// @param source   a device's node, or a file
    /// @param options  further ones, each with a comma in front
    /// @throw Failure, with mount's own words
    explicit ReadOnlyMount(const std::string& source, const std::string& options = "");
    ~ReadOnlyMount();
    ReadOnlyMount(const ReadOnlyMount&) = delete;
    ReadOnlyMount& operator=(const ReadOnlyMount&) = delete;

    /// Opens its top.
    Descriptor open() const;
};

} // namespace velacreate
