/// @file
/// The library's logger in a job's process.
#pragma once

#include "job/reporter.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include <mediaRules.h>

namespace velacreate {

/// Passes messages to the supervisor, and calls a function at the checkpoint.
class LibraryLogger : public VelaLoggerIfc {
public:
    explicit LibraryLogger(Reporter& reporter, std::function<int()> checkpoint = nullptr)
        : m_reporter(reporter), m_checkpoint(std::move(checkpoint)) {}

    void logMessage(int level, const std::string& message) override {
        m_reporter.message(m_isTrying ? std::max(level, VelaCreation::LEVEL_FAILURE + 1) : level, message);
    }
    int checkpoint(int level, const std::string& message) override {
        logMessage(level, message);
        return m_checkpoint ? m_checkpoint() : 0;
    }

    /// While set, failures are logged as progress, since the operation may fail.
    void setTrying(bool isTrying) { m_isTrying = isTrying; }

private:
    Reporter& m_reporter;
    std::function<int()> m_checkpoint;
    bool m_isTrying = false;
};

/// @return the first line of a tool's output that looks like a reason; else the last line
std::string reasonIn(const std::string& said);

/// After a failed operation of the library, reports what the last tool has said. The library has left that in
/// the current directory, where the next command would overwrite it. A veto reports its own reason.
/// @return the operation's result
int reportToolError(int result, const Reporter& reporter);

} // namespace velacreate
