#include "consoleLogger.h"

#include "exitStatus.h"
#include "interrupt.h"
#include "pathRules.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <iomanip>
#include <iostream>

namespace velacreate {

ConsoleLogger::ConsoleLogger(bool verbose, const std::string& logFile) : m_verbose(verbose) {
    if (logFile.empty()) {
        return;
    }
    m_log.open(logFile, std::ios::app);
    if (!m_log) {
        throw Refusal("log file " + shown(logFile) + ": " + std::strerror(errno));
    }
}

void ConsoleLogger::logMessage(int level, const std::string& message) {
    if (level == 0) {
        std::cerr << message << std::endl;
    } else if (m_verbose) {
        std::cout << message << std::endl;
    }
    if (m_log.is_open()) {
        const std::time_t now = std::time(nullptr);
        std::tm local{};
        localtime_r(&now, &local);
        m_log << std::put_time(&local, "%F %T") << ' ' << level << ' ' << message << std::endl;
    }
    if (m_stopAtMessages && isInterrupted()) {
        throw Interrupted();
    }
}

int ConsoleLogger::checkpoint(int level, const std::string& message) {
    logMessage(level, message);
    if (isInterrupted()) {
        return EXIT_INTERRUPTED;
    }
    m_stopAtMessages = true;
    return 0;
}

void ConsoleLogger::stopAtMessages(bool stop) {
    m_stopAtMessages = stop;
}

} // namespace velacreate
