/// @file
/// The console. Everything that is shown or logged goes through it. Control characters are shown as "?",
/// except in results for programs.
#pragma once

#include "display/eventStream.h"
#include "display/progress.h"
#include "display/screen.h"
#include "support/descriptor.h"

#include <memory>
#include <string>
#include <vector>

namespace velacreate {

class Console {
public:
    /// Opens the log. What was said before is logged, too.
    /// @param verbose whether the library's messages are shown at once
    /// @param logFile all messages are appended to it; may be empty
    /// @throw Refusal when it cannot be opened, or is neither a file nor a device
    void openLog(bool verbose, const std::string& logFile);

    /// What programs can read.
    EventStream& events() { return m_events; }

    const Screen& screen() const { return m_screen; }
    /// See Screen::watchInterrupts.
    void watchInterrupts(int interrupts) { m_screen.watchInterrupts(interrupts); }

    /// See Screen::neverWait.
    void neverWait() { m_screen.neverWait(); }

    /// Shows the progress of media until `endProgress`.
    Progress& beginProgress(const std::vector<std::string>& media);
    void endProgress();

    /// A message of the library or of a program.
    void message(int level, const std::string& text);

    /// From now on, only what is found and what fails is shown.
    void beQuiet() { m_isQuiet = true; }
    bool isQuiet() const { return m_isQuiet; }

    /// A line to standard output, for people.
    void say(const std::string& text);
    /// The same, with "Note: " before it. It is an event, too.
    /// @param medium  that it is about; empty for the call
    void note(const std::string& text, const std::string& medium = "");
    /// A difference that was found. It is a line on standard output, also when the console is quiet.
    void showFinding(const std::string& text);
    /// Several lines, such as a table.
    void sayLines(const std::string& lines);

    /// A line to standard error.
    void complain(const std::string& text);

    /// A question. The answer is typed on the same line.
    void ask(const std::string& question);
    /// Ends the line of a question without an answer.
    void endQuestion();

    /// A line to standard error that is not logged.
    void showUnlogged(const std::string& text);

    /// Only to the log.
    void log(int level, const std::string& text);

    /// The result of a command, such as a list for a program: unchanged, to standard output.
    /// @throw Failure when not all of it can be written
    void printResult(const std::string& text);

    bool isVerbose() const { return m_verbose; }

private:
    void append(const std::string& line);
    void show(int descriptor, const std::string& text);

    Screen m_screen;
    EventStream m_events;
    bool m_verbose = false;
    bool m_isQuiet = false;
    bool m_isLogChosen = false;
    Descriptor m_log;
    std::vector<std::string> m_unlogged; ///< until it is known whether there is a log
    std::unique_ptr<Progress> m_progress;
};

} // namespace velacreate
