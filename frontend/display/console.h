/// @file
/// The one place through which everything is shown and logged. What would upset a terminal is shown as "?".
#pragma once

#include "display/progress.h"
#include "display/screen.h"
#include "support/descriptor.h"

#include <memory>
#include <string>
#include <vector>

namespace velacreate {

class Console {
public:
    /// @param verbose  whether the library's messages are shown as they come
    /// @param logFile  to which every message is appended; may be empty
    /// @throw Refusal when it cannot be opened, or is neither a file nor a device
    Console(bool verbose, const std::string& logFile);

    const Screen& screen() const { return m_screen; }
    /// See Screen::heed.
    void watchInterrupts(int interrupts) { m_screen.watchInterrupts(interrupts); }

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
    void showLogged(const std::string& text);

    /// To the log only.
    void log(int level, const std::string& text);

    bool isVerbose() const { return m_verbose; }

private:
    void show(int descriptor, const std::string& text);

    static constexpr int LEVEL_SAID = 2;

    Screen m_screen;
    bool m_verbose;
    Descriptor m_log;
    std::unique_ptr<Progress> m_progress;
};

} // namespace velacreate
