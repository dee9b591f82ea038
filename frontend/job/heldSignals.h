/// @file
/// Signals that end a call, held until somebody looks for them.
#pragma once

#include "support/descriptor.h"

namespace velacreate {

/// Ctrl-C, a request to terminate and a closed terminal wait until somebody looks for them. To be had before
/// anything is made that must be removed again.
class HeldSignals {
public:
    HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

    /// Readable when there is one.
    const Descriptor& descriptor() const { return m_descriptor; }
    /// @return the signal's number; 0 when there is none
    int take() const;

    /// Whether there has been one so far, also if what it was to end had just ended by itself.
    bool hadOne() const { return m_hadOne; }

private:
    Descriptor m_descriptor;
    mutable bool m_hadOne = false;
};

} // namespace velacreate
