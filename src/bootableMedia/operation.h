// How an operation reports its start, its end and its failures to the caller's logger.
#ifndef VELACREATION_OPERATION_H
#define VELACREATION_OPERATION_H

#include "bootableMedia.h"

#include <string>

namespace VelaCreation {

constexpr int LEVEL_FAILURE = 0;
constexpr int LEVEL_PROGRESS = 2;
constexpr int LEVEL_CHECKPOINT = 6;

/// Hands a message to the logger; errno survives it.
void log(VelaLoggerIfc& logger, int level, const std::string& message);

/// The system's text for an error number.
std::string errorText(int error);

/// One run of an operation of the interface, from its start line to its result.
class Operation {
public:
    /// Logs the start. The name is the one printed, such as "BootableUSB::init()".
    Operation(VelaLoggerIfc& logger, std::string name);

    /// Logs a message at level 2, as it stands.
    void progress(const std::string& message) const;

    /// Logs "WHAT. In NAME" at level 2.
    void note(const std::string& what) const;

    /// Logs a message at level 0, as it stands.
    void warn(const std::string& message) const;

    /// Asks the caller whether to go on; anything but 0 is the result of the operation.
    [[nodiscard]] int checkpoint() const;

    /// Logs "WHAT. In NAME" at level 0 and returns the code.
    [[nodiscard]] int failed(int code, const std::string& what) const;

    /// Logs "WHAT, and last error message is ERROR. In NAME" at level 0 and returns the code.
    /// @param error  errno as the failed call left it
    /// @param what   no string: making one could change errno before it is read
    [[nodiscard]] int failedWithError(int code, int error, const char* what) const;

    /// Logs the end and returns 0.
    [[nodiscard]] int succeeded() const;

private:
    VelaLoggerIfc& m_logger;
    std::string m_name;
};

} // namespace VelaCreation

#endif
