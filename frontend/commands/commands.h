/// @file
/// The commands of velacreate. Each returns the exit status.
#pragma once

#include "choices.h"
#include "display/console.h"
#include "job/callerEnvironment.h"

#include <string>

namespace velacreate {

int makeIso(const IsoChoices& choices, const CallerEnvironment& caller, Console& console);
int makeUsbKey(const UsbChoices& choices, const CallerEnvironment& caller, Console& console);
int writeKeys(const WriteChoices& choices, const CallerEnvironment& caller, Console& console);
int makeNetbootDirectory(const PxeChoices& choices, const CallerEnvironment& caller, Console& console);
int burn(const BurnChoices& choices, const CallerEnvironment& caller, Console& console);
int verify(const VerifyChoices& choices, const CallerEnvironment& caller, Console& console);
int runStation(const StationChoices& choices, const CallerEnvironment& caller, Console& console);
int serve(const ServeChoices& choices, const CallerEnvironment& caller, Console& console);
int identify(const std::string& device, Console& console);
int listDisks(bool json, Console& console);

} // namespace velacreate
