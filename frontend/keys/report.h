/// @file
/// The report of keys, for a workshop.
#pragma once

#include "disks/disks.h"
#include "support/descriptor.h"

#include <map>
#include <string>

namespace velacreate {

/// SHA-256 sums of what keys are made from; empty when the files were not taken in.
struct InputSums {
    std::string package;
    std::map<std::string, std::string> updates; ///< by place on the medium
    std::string image = {};                     ///< of a key, in place of the others
};

/// What became of one key.
struct KeyRecord {
    DiskDescription about;
    std::string node;
    int status;         ///< an exit status
    std::string result; ///< "made", "failed", "refused" or "interrupted"
    std::string reason; ///< of a failure
    double seconds;
};

/// A file with a JSON object on each line. Each call appends to it.
class Report {
public:
    /// Makes no file yet: a call that is refused leaves none.
    /// @param path empty for no report
    /// @throw Refusal
    explicit Report(std::string path);

    /// Appends a whole line, also when other calls append at the same time, and flushes.
    /// Only the line of a made key has the sums of update files.
    /// @throw Failure once; nothing is appended afterwards
    void append(const KeyRecord& key, const InputSums& sums);

private:
    std::string m_path; ///< empty when nothing is appended
    Descriptor m_file;
};

/// @param path  of the report; may be empty, as the path of the log file
/// @throw Refusal when it is the log file, or as Report()
Report checkedReport(const std::string& path, const std::string& log);

} // namespace velacreate
