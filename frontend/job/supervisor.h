/// @file
/// The watching of jobs, from outside.
#pragma once

#include "display/console.h"
#include "display/summary.h"
#include "job/childProcess.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace velacreate {

/// Ctrl-C, a request to terminate and a closed terminal wait until somebody looks for them. To be had before
/// anything is made that must be removed again.
class HeldSignals {
public:
    HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Readable when there is one.
    const Descriptor& descriptor() const { return m_descriptor; }
    /// @return the signal's number; 0 when there is none
    int take() const;

    /// Whether there has been one so far, also if what it was to end had just ended by itself.
    bool hadOne() const { return m_hadOne; }

private:
    Descriptor m_descriptor;
    mutable bool m_hadOne = false;
};

/// How many bytes a stage of the library's has done, found out without the job's help. What it shows as the
/// first such stage begins does not count.
struct Gauge {
    std::uint64_t expected;
    std::function<std::uint64_t()> done;
};

/// The job of one medium.
struct MediumJob {
    std::string medium;                                  ///< for messages, such as "the key /dev/sdb"
    int jobDirectory;                                    ///< the directory that it starts in
    std::function<int(Reporter&)> work;                  ///< run in a process of its own
    std::map<std::string, Gauge> gauges = {};            ///< by the stage
    std::function<void(const Outcome&)> ended = nullptr; ///< told at once
    JobKind kind = JobKind::making;
};

/// Runs jobs side by side, each in a process of its own, and shows how far they are. An interrupt ends them
/// all: at once, or, while a disc is burned, at the second one.
/// @param atOnce  how many run at a time
/// @return their outcomes, in order
std::vector<Outcome> supervise(const std::vector<MediumJob>& jobs, std::size_t atOnce,
                               const HeldSignals& signals, Console& console);

} // namespace velacreate
