/// @file
/// Standard output and standard error.
#pragma once

#include "support/descriptor.h"

#include <chrono>
#include <string>

namespace velacreate {

/// A reader, such as a pager, may stop reading. An interrupt still works: after it, all writes together wait
/// for the reader for a fifth of a second. The rest is lost.
class Screen {
public:
    /// @param interrupts a descriptor that is readable after an interrupt; its owner may close it
    /// @throw Failure
    void watchInterrupts(int interrupts);
    /// To be called after an interrupt.
    void stopWaiting() const { m_hasStopped = true; }
    /// From now on, what a reader does not take at once is lost.
    void neverWait() { m_waits = false; }

    /// Whether a reader takes something at once.
    bool isReady(int descriptor) const;

    void write(int descriptor, const std::string& text) const;

private:
    bool canWrite(int descriptor) const;

    Descriptor m_interrupts;
    bool m_waits = true;
    mutable bool m_hasStopped = false;
    mutable std::chrono::steady_clock::duration m_patience = std::chrono::milliseconds(200); ///< what is left
};

} // namespace velacreate
