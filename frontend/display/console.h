/// @file
/// The one place through which everything is shown and logged.
#ifndef VELACREATE_CONSOLE_H
#define VELACREATE_CONSOLE_H

#include "display/progress.h"
#include "support/descriptor.h"

#include <memory>
#include <string>
#include <vector>

namespace velacreate {

class Console {
public:
    /// @param verbose  whether the library's messages are shown as they come
    /// @param logFile  to which every message is appended; may be empty
    /// @throw Refusal when the log file cannot be opened
    Console(bool verbose, const std::string& logFile);

    /// Shows how far media are, from now on until `endProgress`.
    Progress& beginProgress(const std::vector<std::string>& media);
    void endProgress();

    /// A message of the library's, or what a program said.
    void message(int level, const std::string& text);

    /// A line of velacreate's own, to standard output.
    void say(const std::string& text);

    /// A line of velacreate's own, to standard error.
    void complain(const std::string& text);

    /// A message that has been logged already, to standard error.
    void repeat(const std::string& text);

    bool isVerbose() const {
        return m_verbose;
    }

private:
    void log(int level, const std::string& text) const;
    void show(std::ostream& stream, const std::string& text);

    bool m_verbose;
    Descriptor m_log;
    std::unique_ptr<Progress> m_progress;
};

} // namespace velacreate

#endif
