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
constexpr const char* RESULT_SAME = "the same";
constexpr const char* RESULT_DIFFERENT = "different";
constexpr const char* RESULT_FAILED = "failed";
constexpr const char* RESULT_REFUSED = "refused";
constexpr const char* RESULT_INTERRUPTED = "interrupted";
inline constexpr std::array RESULT_WORDS = {RESULT_MADE,   RESULT_SAME,    RESULT_DIFFERENT,
                                            RESULT_FAILED, RESULT_REFUSED, RESULT_INTERRUPTED};

/// @return one of the words
std::string resultWord(const Outcome& outcome);

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
int conclude(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made);

} // namespace velacreate
