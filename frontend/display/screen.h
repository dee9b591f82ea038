/// @file
/// Standard output and standard error.
#pragma once

#include <string>

namespace velacreate {

/// A reader, such as a pager, may stop reading. An interrupt still works: after it, what cannot be written at
/// once is lost.
class Screen {
public:
    /// @param interrupts a descriptor that is readable after an interrupt
    void watchInterrupts(int interrupts) { m_interrupts = interrupts; }
    /// To be called after an interrupt.
    void stopWaiting() const { m_hasStopped = true; }

    void write(int descriptor, const std::string& text) const;

private:
    bool canWrite(int descriptor) const;

    int m_interrupts = -1;
    mutable bool m_hasStopped = false;
};

} // namespace velacreate
