/// @file
/// The library's logger in a job's process.
#pragma once

#include "job/reporter.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include <bootableMedia.h>

namespace velacreate {

/// Hands messages on to the supervisor, and asks a function at the checkpoint.
class LibraryLogger : public VelaLoggerIfc {
public:
    explicit LibraryLogger(Reporter& reporter, std::function<int()> checkpoint = nullptr)
        : m_reporter(reporter), m_checkpoint(std::move(checkpoint)) {}

    void logMessage(int level, const std::string& message) override {
        m_reporter.message(m_isTrying ? std::max(level, 1) : level, message);
    }
    int checkpoint(int level, const std::string& message) override {
        logMessage(level, message);
        return m_checkpoint ? m_checkpoint() : 0;
    }

    /// While something is tried that may fail, failures are no more than other messages.
    void setTrying(bool isTrying) { m_isTrying = isTrying; }

private:
    Reporter& m_reporter;
    std::function<int()> m_checkpoint;
    bool m_isTrying = false;
};

/// @return the first line of what a tool said that looks like a reason, and not like a warning only; else the
/// last one
std::string reasonIn(const std::string& said);

/// Tells, when an operation of the library has failed, what the tool said that it ran last: the library has
/// left its output in the current directory, where the next command would overwrite it. A veto has told its
/// own reason.
/// @return the operation's result
int reportToolError(int result, const Reporter& reporter);

} // namespace velacreate
