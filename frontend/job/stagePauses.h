/// @file
/// The library pauses after each stage line, for programs that poll the status file. The command shows stages
/// at once and leaves these pauses out. Other pauses are real.
#pragma once

#include <functional>
#include <string>

namespace velacreate {

/// Catches the library's stage lines on standard output from now on, and passes them on without the blank and
/// the dots.
/// @param keepPauses whether the library pauses after them
void watchStages(const std::function<void(const std::string& stage)>& announce, bool keepPauses);

} // namespace velacreate
