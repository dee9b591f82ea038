/// @file
/// The job of one medium, or of a server.
#pragma once

#include "job/outcome.h"
#include "job/reporter.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include <sys/types.h>

namespace velacreate {

class Progress;

/// Counts the bytes of a stage of the library from outside the job, from the count at the beginning of the
/// first such stage on.
struct Gauge {
    std::uint64_t expected;
    std::function<std::uint64_t(pid_t job)> done;
};

struct MediumJob {
    std::string medium;                                  ///< for messages, such as "the key /dev/sdb"
    int jobDirectory;                                    ///< in which it starts
    std::function<int(Reporter&)> work;                  ///< run in a process of its own
    std::map<std::string, Gauge> gauges = {};            ///< by the stage
    std::function<void(const Outcome&)> ended = nullptr; ///< called at once
    JobKind kind = JobKind::making;

    /// For a server: called with each line of its output. Lines of other jobs are failures of the library.
    std::function<void(const std::string& line, Progress& progress)> takeLine = nullptr;

    /// Called once a second; may be null.
    /// @return why the job must be ended; empty when it can go on
    std::function<std::string()> whatIsGone = nullptr;

    /// A server has no stages and runs until it is told to end.
    bool isServer() const { return takeLine != nullptr; }
};

} // namespace velacreate
