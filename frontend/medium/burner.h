/// @file
/// A drive that burns discs.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/callerEnvironment.h"
#include "job/toolkit.h"
#include "support/descriptor.h"

#include <string>

namespace velacreate {

class Burner {
public:
    /// @param device as cdrecord's dev= takes it
    /// @throw Refusal when the kernel or the burner knows that it cannot burn
    Burner(std::string device, const CallerEnvironment& caller);

    /// Burns an image.
    /// @param verify whether the disc is read back if the drive takes it in again; else the user is told how
    /// @return the exit status
    int burn(const std::string& path, bool isQuiet, bool verify, const ShowChoices& show,
             Console& console) const;

private:
    std::string m_device;
    Toolkit m_toolkit;
    NamedDirectory m_scratch;
};

} // namespace velacreate
