/// @file
/// Signals that end a call.
#pragma once

#include "support/descriptor.h"

#include <array>
#include <csignal>

namespace velacreate {

/// Ignored by the supervisor, but not by jobs, so that a failed write does not end it.
inline constexpr std::array IGNORED_SIGNALS = {SIGPIPE, SIGXFSZ};

/// Delivers all signals at once, also those that the caller or HeldSignals held back.
void unblockSignals();

/// Holds back SIGINT, SIGTERM, SIGQUIT and SIGHUP until they are taken, but not those that are ignored. Make
/// it before anything that must be removed again. They stay held back when the object is destroyed.
class HeldSignals {
public:
    HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Readable when there is a signal.
    const Descriptor& descriptor() const { return m_descriptor; }
    /// @return the signal's number; 0 when there is none
    int take() const;

    /// Whether there has been a signal.
    bool hadOne() const { return m_hadOne; }

private:
    Descriptor m_descriptor;
    mutable bool m_hadOne = false;
};

} // namespace velacreate
