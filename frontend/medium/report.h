/// @file
/// The report of media, for a workshop.
#pragma once

#include "display/console.h"
#include "job/outcome.h"
#include "support/json.h"

#include <map>
#include <string>

namespace velacreate {

/// SHA-256 sums of what media are made from; empty when the files were not taken in.
struct InputSums {
    std::string package;
    std::map<std::string, std::string> updates; ///< by place on the medium
    std::string image = {};                     ///< of a key, in place of the others
    std::string made = {}; ///< of an image, or of the archive of a network-boot directory
};

/// A file with a JSON object on each line. Each call appends to it.
class Report {
public:
    /// Makes no file yet: a call that is refused leaves none.
    /// @param path empty for no report
    /// @throw Refusal
    explicit Report(std::string path);

    /// Appends a whole line, also when other calls append at the same time, and flushes. A file that was
    /// moved away is made anew.
    /// Only the line of a medium that was made, or was already right, has the sums of update files.
    /// @param medium  what identifies it; of a disk, see jsonOf()
    /// @throw Failure, once until a line can be appended again
    void append(const Json& medium, const Outcome& outcome, const InputSums& sums);

    /// The same, and tells of a failure.
    void append(const Json& medium, const Outcome& outcome, const InputSums& sums, Console& console);

private:
    std::string m_path; ///< empty when nothing is appended
    bool m_isIncomplete = false;
    bool m_isCut = false; ///< in a line
};

} // namespace velacreate
