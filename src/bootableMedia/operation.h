// Logs the start, the end and the failures of a workflow's operations.
#ifndef VELACREATION_OPERATION_H
#define VELACREATION_OPERATION_H

#include "mediaRules.h"

#include <string>

namespace VelaCreation {

/// Passes a message to the logger and keeps errno.
void log(VelaLoggerIfc& logger, int level, const std::string& message);

std::string errorText(int error);

/// One call of a public operation, from its start to its result.
class Operation {
public:
    /// Logs the start. The name is printed, such as "BootableUSB::init()".
    Operation(VelaLoggerIfc& logger, std::string name);

    /// Logs a message at level 2, unchanged.
    void progress(const std::string& message) const;

    /// Logs "WHAT. In NAME" at level 2.
    void note(const std::string& what) const;

    /// Logs a message at level 0, unchanged.
    void warn(const std::string& message) const;

    /// Asks the caller whether to continue. If the answer is not 0, it becomes the result of the operation.
    [[nodiscard]] int checkpoint() const;

    /// Logs "WHAT. In NAME" at level 0 and returns the code.
    [[nodiscard]] int failed(int code, const std::string& what) const;

    /// Logs "WHAT, and last error message is ERROR. In NAME" at level 0 and returns the code.
    /// @param error  errno after the failed call
    /// @param what   not a std::string: constructing one could change errno before it is read
    [[nodiscard]] int failedWithError(int code, int error, const char* what) const;

    /// Logs the end and returns 0.
    [[nodiscard]] int succeeded() const;

private:
    VelaLoggerIfc& m_logger;
    std::string m_name;
};

} // namespace VelaCreation

#endif
