/// @file
/// The two ways in which a job does not come about for a reason of velacreate's own.
#pragma once

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

/// The system's reason for a call that has just failed. It is taken here and now: errno may change while the
/// text of a message is built.
class SystemError {
public:
    SystemError();

    /// @return "WHAT: the system's text for the reason"
    std::string about(const std::string& what) const;

private:
    int m_number;
};

/// Whether a system call was successful.
class Checked {
public:
    explicit Checked(bool isDone) : m_isDone(isDone) {}

    /// @throw Failure "WHAT: the system's text for the reason", unless it was
    void orFail(const std::string& what) const;
    /// @throw Refusal with the same text
    void orRefuse(const std::string& what) const;

private:
    bool m_isDone;
    SystemError m_error;
};

inline Checked check(bool isDone) {
    return Checked(isDone);
}

/// @return the text for a message; what would upset a terminal (control characters, also those beyond ASCII,
/// and bytes that are not UTF-8) is shown as "?"
std::string printable(const std::string& text);

/// @return the same between single quotes, for a name
std::string quote(const std::string& text);

} // namespace velacreate
