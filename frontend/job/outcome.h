/// @file
/// How a job has ended.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// What a job does to its medium.
enum class JobKind {
    making,
    verifying,    ///< compares it with what would be made now
    comparing,    ///< a disc with its image
    comparingKey, ///< a key with its image
    checking,     ///< compares a medium with the list of sums on it
    serving,      ///< a network-boot directory or an image
};

struct Outcome {
    int status;
    std::string reason;                ///< may be empty
    std::vector<std::string> failures; ///< the library's messages of level 0
    bool hasChanged;                   ///< whether the medium was changed
    double seconds;
    double bytesPerSecond = 0; ///< 0 when it was not counted
    JobKind kind = JobKind::making;
    std::string addition = {};                    ///< with which the result in words ends
    std::map<std::string, std::string> sums = {}; ///< SHA-256, by the place of the file
    bool wasRight = false; ///< a medium to be made held already what it should, and was not written
};

/// The same for programs.
struct JobResult {
    std::string
        word;   ///< "made", "already", "served", "same", "different", "failed", "refused" or "interrupted"
    int status; ///< an exit status
    std::string reason; ///< empty when there is none
};

} // namespace velacreate
