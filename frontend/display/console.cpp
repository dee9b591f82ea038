#include "display/console.h"

#include "inputs/addedFiles.h"
#include "support/failure.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <iostream>
#include <sstream>
#include <utility>

#include <unistd.h>

namespace velacreate {

void Console::openLog(bool verbose, const std::string& logFile) {
    m_verbose = verbose;
    if (!logFile.empty()) {
        m_log = openToAdd(LOG_FILE, logFile);
    }
    m_isLogChosen = true;
    for (const auto& line : std::exchange(m_unlogged, {})) {
        append(line);
    }
}

Progress& Console::beginProgress(const std::vector<std::string>& media) {
    m_progress = m_isQuiet ? std::make_unique<Progress>() : makeProgress(m_screen, media);
    return *m_progress;
}

void Console::endProgress() {
    m_progress.reset();
}

void Console::message(int level, const std::string& text) {
    log(level, text);
    if (m_verbose) {
        show(level == VelaCreation::LEVEL_FAILURE ? STDERR_FILENO : STDOUT_FILENO, text);
    }
}

void Console::say(const std::string& text) {
    if (m_isQuiet) {
        log(VelaCreation::LEVEL_PROGRESS, text);
    } else {
        showFinding(text);
    }
}

void Console::note(const std::string& text, const std::string& medium) {
    say("Note: " + text);
    m_events.note(medium, text);
}

void Console::showFinding(const std::string& text) {
    log(VelaCreation::LEVEL_PROGRESS, text);
    show(STDOUT_FILENO, text);
}

void Console::sayLines(const std::string& lines) {
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);) {
        say(line);
    }
}

void Console::complain(const std::string& text) {
    log(VelaCreation::LEVEL_FAILURE, text);
    show(STDERR_FILENO, "velacreate: " + text);
}

void Console::ask(const std::string& question) {
    log(VelaCreation::LEVEL_PROGRESS, question);
    m_screen.write(STDOUT_FILENO, question + " ");
}

void Console::endQuestion() {
    m_screen.write(STDOUT_FILENO, "\n");
}

void Console::showUnlogged(const std::string& text) {
    show(STDERR_FILENO, text);
}

void Console::log(int level, const std::string& text) {
    append(localTimeText() + ' ' + std::to_string(level) + ' ' + printable(text) + '\n');
}

void Console::printResult(const std::string& text) {
    if (!(std::cout << text << std::flush)) {
        throw Failure("what was found could not be shown");
    }
}

void Console::append(const std::string& line) {
    if (!m_isLogChosen) {
        m_unlogged.push_back(line);
        return;
    }
    if (!m_log.isOpen()) {
        return;
    }
    if (!writeText(m_log, line)) {
        const auto reason = SystemError().about("the log file is incomplete from here on");
        m_log = Descriptor();
        complain(reason);
    }
}

void Console::show(int descriptor, const std::string& text) {
    if (m_progress) {
        m_progress->erase();
    }
    m_screen.write(descriptor, printable(text) + "\n");
    if (m_progress) {
        m_progress->draw();
    }
}

} // namespace velacreate
