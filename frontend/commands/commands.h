/// @file
/// The commands of velacreate. Each returns the exit status.
#pragma once

#include "choices.h"
#include "job/callerEnvironment.h"

#include <string>

namespace velacreate {

int makeIso(const IsoChoices& choices, const CallerEnvironment& caller);
int makeUsbKey(const UsbChoices& choices, const CallerEnvironment& caller);
int makeNetbootDirectory(const PxeChoices& choices, const CallerEnvironment& caller);
int burn(const BurnChoices& choices, const CallerEnvironment& caller);
int verify(const VerifyChoices& choices, const CallerEnvironment& caller);
int serve(const ServeChoices& choices);
int identify(const std::string& device);
int listDisks(bool json);

} // namespace velacreate
