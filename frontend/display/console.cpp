#include "display/console.h"

#include "support/failure.h"

#include <cerrno>
#include <ctime>
#include <iomanip>
#include <sstream>

#include <fcntl.h>
#include <unistd.h>

namespace velacreate {

namespace {

/// A file or a device: nothing that has to be waited for, and nothing that a link leads to.
Descriptor openLog(const std::string& path) {
    constexpr mode_t READABLE = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    const std::string what = "the log file " + shown(path);
    Descriptor log(open(path.c_str(),
                        O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                        READABLE));
    if (!log.isOpen()) {
        throw Refusal(errno == ELOOP ? what + " is a link" : withError(what));
    }
    const mode_t mode = log.status().st_mode;
    if (!S_ISREG(mode) && !S_ISCHR(mode)) {
        throw Refusal(what + " is no file");
    }
    return log;
}

} // namespace

Console::Console(bool verbose, const std::string& logFile) : m_verbose(verbose) {
    if (!logFile.empty()) {
        m_log = openLog(logFile);
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
        const auto reason = withError("the log file is incomplete from here on");
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
