/// @file
/// The command's own failures.
#pragma once

#include <stdexcept>
#include <string>

namespace velacreate {

/// The call is wrong or dangerous. Thrown only before an output or a medium is changed.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The options of a call do not go together, or lack something.
class WrongCommandLine : public Refusal {
public:
    using Refusal::Refusal;
};

/// The job cannot be finished. There is no result code for the reason.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The reason of a failed system call. Reads errno at once, because building a message may change it.
class SystemError {
public:
    SystemError();

    int number() const { return m_number; }

    /// @return "WHAT: the system's text for the reason"
    std::string about(const std::string& what) const;

private:
    int m_number;
};

/// Whether a system call was successful.
class Checked {
public:
    explicit Checked(bool isDone) : m_isDone(isDone) {}

    /// @throw Failure "WHAT: the system's text for the reason" after a failed call
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

/// Both arguments are built in any case, so errno must have been read before.
/// @throw Refusal
inline void refuseIf(bool isWrong, const std::string& text) {
    if (isWrong) {
        throw Refusal(text);
    }
}

/// @return the text for a message: control characters, and bytes that are not UTF-8, are replaced by "?";
/// characters that are not seen, by escapes such as "\u200b"
std::string printable(const std::string& text);

/// @return the same in single quotes
std::string quote(const std::string& text);

} // namespace velacreate
