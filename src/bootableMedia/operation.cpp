#include "operation.h"

#include "keepErrno.h"

#include <cstring>
#include <utility>

namespace VelaCreation {

void log(VelaLoggerIfc& logger, int level, const std::string& message) {
    const KeepErrno keepErrno;
    logger.logMessage(level, message);
}

std::string errorText(int error) {
    return std::strerror(error);
}

Operation::Operation(VelaLoggerIfc& logger, std::string name) : m_logger(logger), m_name(std::move(name)) {
    progress(m_name + " starts");
}

void Operation::progress(const std::string& message) const {
    log(m_logger, LEVEL_PROGRESS, message);
}

void Operation::note(const std::string& what) const {
    progress(what + ". In " + m_name);
}

void Operation::warn(const std::string& message) const {
    log(m_logger, LEVEL_FAILURE, message);
}

int Operation::checkpoint() const {
    return m_logger.checkpoint(LEVEL_CHECKPOINT,
                               "Before copying boot directory of tool.zip to temp directory.");
}

int Operation::failed(int code, const std::string& what) const {
    warn(what + ". In " + m_name);
    return code;
}

int Operation::failedWithError(int code, int error, const char* what) const {
    return failed(code, std::string(what) + ", and last error message is " + errorText(error));
}

int Operation::succeeded() const {
    progress(m_name + " ends successfully");
    return VELAERROR_SUCCESS;
}

} // namespace VelaCreation
