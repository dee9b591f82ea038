/// @file
/// The job of one medium, or of a server.
#pragma once

#include "job/outcome.h"
#include "job/reporter.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace velacreate {

class Progress;

/// How many bytes a stage of the library's has done, found out without the job's help. What it shows as the
/// first such stage begins does not count.
struct Gauge {
    std::uint64_t expected;
    std::function<std::uint64_t()> done;
};

struct MediumJob {
    std::string medium;                                  ///< for messages, such as "the key /dev/sdb"
    int jobDirectory;                                    ///< the directory that it starts in
    std::function<int(Reporter&)> work;                  ///< run in a process of its own
    std::map<std::string, Gauge> gauges = {};            ///< by the stage
    std::function<void(const Outcome&)> ended = nullptr; ///< told at once
    JobKind kind = JobKind::making;

    /// Of a server: takes each line that it writes, and shows what it wants to. What other jobs write are
    /// failures of the library's.
    std::function<void(const std::string& line, Progress& progress)> takeLine = nullptr;

    /// Of a server: asked once a second.
    /// @return why it cannot go on, and is killed; empty when it can
    std::function<std::string()> whatIsGone = nullptr;

    /// A server has no stages, goes on until it is ended, and has nothing to put in order then.
    bool isServer() const { return takeLine != nullptr; }
};

} // namespace velacreate
