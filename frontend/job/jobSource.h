/// @file
/// Where the jobs of a call come from.
#pragma once

#include "job/mediumJob.h"

#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// A job, and the number of its medium among all that are shown.
struct NextJob {
    std::size_t medium;
    MediumJob job;
};

class JobSource {
public:
    JobSource() = default;
    virtual ~JobSource() = default;
    JobSource(const JobSource&) = delete;
    JobSource& operator=(const JobSource&) = delete;

    /// The names of the media that are shown. An empty name is left out.
    virtual std::vector<std::string> media() const = 0;

    /// Called once, before the first job.
    virtual void begin(Progress& /*progress*/) {}

    /// Whether there are more jobs, or may be later.
    virtual bool hasMore() const = 0;

    /// A descriptor that is readable when look() is to be called; -1 when there is none.
    virtual int news() const { return -1; }

    /// Called after each wait: at least once a second, and five times a second when news() is a
    /// descriptor.
    virtual void look() {}

    /// Called while there is room for another job.
    /// @return nothing when there is none now
    virtual std::optional<NextJob> next() = 0;

    /// Called when a job has ended, or could not be started.
    virtual void ended(std::size_t medium, const Outcome& outcome) = 0;

    /// Called after Ctrl-C.
    /// @return whether no more jobs come, and those at work may finish
    virtual bool close() { return false; }

    /// Called when all jobs are told to end: next() is not called any more.
    virtual void stop() {}

    /// Whether the supervisor shows how each job ends.
    virtual bool leavesEndsToSupervisor() const { return true; }
};

} // namespace velacreate
