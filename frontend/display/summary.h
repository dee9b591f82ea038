/// @file
/// The result of a job in words.
#pragma once

#include "display/console.h"
#include "job/outcome.h"

#include <array>
#include <string>

namespace velacreate {

/// Why a job failed: the meaning of its status, and the reason.
std::string failureText(const Outcome& outcome);

/// What the user can do, as a sentence; may be empty.
std::string nextStep(const Outcome& outcome);

constexpr const char* RESULT_MADE = "made";
constexpr const char* RESULT_ALREADY = "already right";
constexpr const char* RESULT_SERVED = "served";
constexpr const char* RESULT_SAME = "the same";
constexpr const char* RESULT_DIFFERENT = "different";
constexpr const char* RESULT_FAILED = "failed";
constexpr const char* RESULT_REFUSED = "refused";
constexpr const char* RESULT_INTERRUPTED = "interrupted";
inline constexpr std::array RESULT_WORDS = {RESULT_MADE,    RESULT_ALREADY,    RESULT_SERVED,
                                            RESULT_SAME,    RESULT_DIFFERENT,  RESULT_FAILED,
                                            RESULT_REFUSED, RESULT_INTERRUPTED};

/// @return one of the words
std::string resultWord(const Outcome& outcome);

/// @return the result for programs
JobResult resultForPrograms(const Outcome& outcome);

/// The tools of a job say much that is no failure.
/// @return the outcome with the words of the tool that has failed alone; after a comparison, with all
/// differences
Outcome inOwnWords(Outcome outcome);

/// @return such as "made, 52 s, 41 MB/s, read back"; after a failure, "failed: " and the reason; after an
/// interrupt, the state of the medium
std::string resultText(const Outcome& outcome, bool wasReadBack);

/// @return the result of a failed job, and what the user can do, as sentences
std::string failureSentences(const Outcome& outcome);

/// @return ", read back" for a medium that was
std::string readBackText(bool wasReadBack);

/// Shows the library's failures after a failed job, unless they were shown as they came.
void showFailures(Console& console, const Outcome& outcome, const std::string& name);

/// Shows the result: success on standard output; failures and differences on standard error, after the
/// library's messages.
/// @param medium such as "the image /x/i.iso"
/// @param made details for success, such as the size
/// @return the exit status
int showResult(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made);

/// The same, and ends the events of the medium.
int conclude(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made);

} // namespace velacreate
