/// @file
/// The one place through which everything is shown and logged. What would upset a terminal is shown as "?".
#pragma once

#include "display/progress.h"
#include "display/screen.h"
#include "support/descriptor.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace velacreate {

class Console {
public:
    /// What was said before is logged, too.
    /// @param verbose  whether the library's messages are shown as they come
    /// @param logFile  to which every message is appended from now on; may be empty
    /// @throw Refusal when it cannot be opened, or is neither a file nor a device
    void openLog(bool verbose, const std::string& logFile);

    const Screen& screen() const { return m_screen; }
    /// See Screen::watchInterrupts.
    void watchInterrupts(int interrupts) { m_screen.watchInterrupts(interrupts); }

    /// Shows how far media are, from now on until `endProgress`.
    Progress& beginProgress(const std::vector<std::string>& media);
    void endProgress();

    /// A message of the library's, or what a program said.
    void message(int level, const std::string& text);

    /// A line of velacreate's own, to standard output.
    void say(const std::string& text);
    /// Several lines, such as a table.
    void sayLines(const std::string& lines);

    /// A line of velacreate's own, to standard error.
    void complain(const std::string& text);

    /// A question, whose line is not ended.
    void ask(const std::string& question);
    /// Ends the line of a question that has got no answer.
    void endQuestion();

    /// A line to standard error that is not logged.
    void showUnlogged(const std::string& text);

    /// To the log only.
    void log(int level, const std::string& text);

    /// What a command is called for, such as a list that a program may read: as it is, to standard output.
    /// @throw Failure when it cannot be written to its end
    static void printResult(const std::string& text);

    bool isVerbose() const { return m_verbose; }

private:
    void append(const std::string& line);
    void show(int descriptor, const std::string& text);

    static constexpr int LEVEL_SAID = 2;

    Screen m_screen;
    bool m_verbose = false;
    bool m_isLogChosen = false;
    Descriptor m_log;
    std::vector<std::string> m_unlogged; ///< before it is known whether there is a log
    std::unique_ptr<Progress> m_progress;
};

} // namespace velacreate
