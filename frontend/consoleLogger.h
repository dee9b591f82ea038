/// @file
/// Where the library's messages go, and where an interrupt takes effect.
#ifndef VELACREATE_CONSOLELOGGER_H
#define VELACREATE_CONSOLELOGGER_H

#include <bootableMedia.h>

#include <fstream>
#include <string>

namespace velacreate {

/// Shows failures on standard error and, when verbose, progress on standard output; appends every message to
/// the log file, when there is one.
class ConsoleLogger : public VelaLoggerIfc {
public:
    /// @param logFile  may be empty
    ConsoleLogger(bool verbose, const std::string& logFile);

    void logMessage(int level, const std::string& message) override;

    /// Lets the job end when it has been interrupted; from here on, messages do so.
    int checkpoint(int level, const std::string& message) override;

    /// Whether a message throws `Interrupted` after an interrupt. Not so at first.
    void stopAtMessages(bool stop);

private:
    bool m_verbose;
    bool m_stopAtMessages = false;
    std::ofstream m_log;
};

} // namespace velacreate

#endif
