/// @file
/// The record that a workshop keeps of its keys.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

#include <map>
#include <string>

namespace velacreate {

/// The SHA-256 sums of the update files, by their place on the medium.
using UpdateSums = std::map<std::string, std::string>;

/// What became of one key.
struct KeyRecord {
    DiskDescription about;
    std::string node;
    std::string result; ///< "made", "failed" or "interrupted"
    std::string reason; ///< of a failure
    double seconds;
};

/// A file with a JSON object on each line, for all keys of all calls.
class Report {
public:
    /// @param path  empty when no record is kept
    /// @throw Refusal
    explicit Report(const std::string& path);

    /// Adds a line, whole even when another call adds to the file at the same time, and flushes.
    /// @throw Failure, but once only: after it no record is kept
    void append(const KeyRecord& key, const UpdateSums& updates);

private:
    Descriptor m_file;
};

} // namespace velacreate
