/// @file
/// The two ways in which a job does not come about for a reason of velacreate's own.
#ifndef VELACREATE_FAILURE_H
#define VELACREATE_FAILURE_H

#include <stdexcept>
#include <string>

namespace velacreate {

/// The call is wrong or would do harm. Thrown only while neither an output nor a medium has been touched.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The job cannot be finished, for a reason that no result code stands for.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// @return a text for "WHAT: the system's text for the current errno"
std::string withError(const std::string& what);

/// @return the text for a message; what would upset a terminal (control characters, also those beyond ASCII,
/// and bytes that are not UTF-8) is shown as "?"
std::string printable(const std::string& text);

/// @return the same between single quotes, for a name
std::string shown(const std::string& text);

} // namespace velacreate

#endif
