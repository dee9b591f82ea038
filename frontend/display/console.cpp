#include "display/console.h"

#include "support/failure.h"
#include "support/keptFile.h"

#include <ctime>
#include <iomanip>
#include <sstream>

#include <unistd.h>

namespace velacreate {

Console::Console(bool verbose, const std::string& logFile) : m_verbose(verbose) {
    if (!logFile.empty()) {
        m_log = openToAdd("the log file", logFile);
    }
}

Progress& Console::beginProgress(const std::vector<std::string>& media) {
    m_progress = std::make_unique<Progress>(m_screen, media);
    return *m_progress;
}

void Console::endProgress() {
    m_progress.reset();
}

void Console::message(int level, const std::string& text) {
    log(level, text);
    if (m_verbose) {
        show(level == 0 ? STDERR_FILENO : STDOUT_FILENO, text);
    }
}

void Console::say(const std::string& text) {
    log(LEVEL_SAID, text);
    show(STDOUT_FILENO, text);
}

void Console::complain(const std::string& text) {
    log(0, text);
    show(STDERR_FILENO, "velacreate: " + text);
}

void Console::showLogged(const std::string& text) {
    show(STDERR_FILENO, text);
}

void Console::log(int level, const std::string& text) {
    if (!m_log.isOpen()) {
        return;
    }
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    std::ostringstream line;
    line << std::put_time(&local, "%F %T") << ' ' << level << ' ' << printable(text) << '\n';
    const auto bytes = line.str();
    if (write(m_log.number(), bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
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
