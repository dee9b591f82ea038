/// @file
/// Standard output and standard error.
#pragma once

#include <string>

namespace velacreate {

/// Whoever reads them may stop doing so, such as a pager. An interrupt is heard nevertheless: what cannot be
/// written at once is then lost.
class Screen {
public:
    /// From now on, a readable descriptor stands for an interrupt.
    void watchInterrupts(int interrupts) { m_interrupts = interrupts; }
    /// There was one.
    void stopWaiting() const { m_hasStopped = true; }

    void write(int descriptor, const std::string& text) const;

private:
    bool canWrite(int descriptor) const;

    int m_interrupts = -1;
    mutable bool m_hasStopped = false;
};

} // namespace velacreate
