/// @file
/// A drive that burns discs.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/callerEnvironment.h"
#include "job/toolkit.h"
#include "medium/burnTarget.h"
#include "support/descriptor.h"

#include <string>

namespace velacreate {

class Burner {
public:
    /// @param device as cdrecord's dev= takes it
    /// @throw Refusal when the kernel or the burner knows that it cannot burn
    Burner(const std::string& device, const CallerEnvironment& caller);

    BurnTarget& target() { return m_target; }

    /// Burns an image with this drive, whatever the choices name. Asks before something is lost. The disc is
    /// read back if the drive takes it in again; else the user is told how.
    /// @return the exit status
    int burn(const BurnChoices& choices, Console& console);

private:
    BurnTarget m_target;
    Toolkit m_toolkit;
    NamedDirectory m_scratch;
};

} // namespace velacreate
