/// @file
/// The last line of a job.
#pragma once

#include "display/console.h"
#include "job/outcome.h"

#include <string>

namespace velacreate {

/// Why a medium was not made, or what is wrong with it: what its status means, and the reason.
std::string failureText(const Outcome& outcome);

/// What to do about it, as a sentence; empty when there is nothing to do, or nothing to tell.
std::string nextStep(const Outcome& outcome);

/// In a word or two: "made", "the same", "different", "failed", "interrupted".
std::string resultWord(const Outcome& outcome);

/// What became of one medium of several: "made, 52 s, 41 MB/s, read back", or "failed: " and why.
std::string resultText(const Outcome& outcome, bool wasReadBack);

/// ", read back" for a medium that was.
std::string readBackText(bool wasReadBack);

/// Says it: on standard output what was done; on standard error what was not, or that there are differences,
/// after the library's own messages.
/// @param medium  such as "the image /x/i.iso"
/// @param made    what to say of it besides when it was done, such as its size
/// @return the exit status
int conclude(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made);

} // namespace velacreate
