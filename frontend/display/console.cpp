#include "display/console.h"

#include "support/failure.h"

#include <ctime>
#include <iomanip>
#include <iostream>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

Console::Console(bool verbose, const std::string& logFile) : m_verbose(verbose) {
    if (logFile.empty()) {
        return;
    }
    constexpr mode_t READABLE = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    m_log = Descriptor(
        open(logFile.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC, READABLE));
    if (!m_log.isOpen()) {
        throw Refusal(withError("the log file " + shown(logFile)));
    }
}

Progress& Console::beginProgress(const std::vector<std::string>& media) {
    m_progress = std::make_unique<Progress>(media);
    return *m_progress;
}

void Console::endProgress() {
    m_progress.reset();
}

void Console::message(int level, const std::string& text) {
    log(level, text);
    if (m_verbose) {
        show(level == 0 ? std::cerr : std::cout, text);
    }
}

void Console::say(const std::string& text) {
    log(2, text);
    show(std::cout, text);
}

void Console::complain(const std::string& text) {
    log(0, text);
    show(std::cerr, "velacreate: " + text);
}

void Console::repeat(const std::string& text) {
    show(std::cerr, text);
}

void Console::log(int level, const std::string& text) const {
    if (m_log.isOpen()) {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        std::ostringstream line;
        line << std::put_time(&local, "%F %T") << ' ' << level << ' ' << text << '\n';
        [[maybe_unused]] const auto written = write(m_log.number(), line.str().data(), line.str().size());
    }
}

void Console::show(std::ostream& stream, const std::string& text) {
    if (m_progress) {
        m_progress->erase();
    }
    stream << text << std::endl;
    if (m_progress) {
        m_progress->draw();
    }
}

} // namespace velacreate
