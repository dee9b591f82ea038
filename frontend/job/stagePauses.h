/// @file
/// The pause that the library makes after each stage line, for those who poll the status file. Whoever
/// watches a job here is shown its stages at once, so it does not wait. The library's other pauses are real.
#pragma once

#include <functional>
#include <string>

namespace velacreate {

/// From now on, takes the library's stage lines off the standard output of this process and hands them over,
/// without their blank and dots. The pause after each is left out.
/// @param keepPauses  whether it is made nevertheless
void watchStages(const std::function<void(const std::string& stage)>& announce, bool keepPauses);

} // namespace velacreate
