/// @file
/// The last line of a job.
#ifndef VELACREATE_SUMMARY_H
#define VELACREATE_SUMMARY_H

#include "display/console.h"

#include <string>
#include <vector>

namespace velacreate {

/// How a job has ended.
struct Outcome {
    int status;
    std::string reason;                ///< in a tool's words or velacreate's own; empty when there are none
    std::vector<std::string> failures; ///< the library's messages of level 0
    bool hasChanged;                   ///< whether the medium was changed
    double seconds;
    double bytesPerSecond = 0; ///< written to the medium; 0 when it was not counted
};

/// Why a medium was not made: what its status means, and the reason.
std::string failureText(const Outcome& outcome);

/// What became of one medium of several: "made, 52 s, 41 MB/s, read back", or "failed: " and why.
std::string resultText(const Outcome& outcome, bool wasReadBack);

/// Says it: what was made on standard output; on standard error what was not, after the library's own
/// messages.
/// @param medium  such as "the image /x/i.iso"
/// @param made    what to say of it besides when it was made, such as its size
/// @return the exit status
int conclude(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made);

} // namespace velacreate

#endif
