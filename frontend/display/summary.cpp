#include "display/summary.h"

#include "support/exitStatus.h"
#include "support/texts.h"

namespace velacreate {
namespace {
/// The words for a kind of job.
struct Words {
    const char* done;      ///< before the medium
    const char* result;    ///< in a table
    const char* finding;   ///< behind the medium, on success
    const char* undone;    ///< behind the medium, on failure
    const char* different; ///< what a difference means
};

Words wordsOf(const Outcome& outcome) {
    switch (outcome.kind) {
    case JobKind::verifying:
        return {"Verified ", RESULT_SAME, ", no difference", "was not verified",
                "differs from what would be made now"};
    case JobKind::comparing:
    case JobKind::comparingKey:
        return {"Compared ", RESULT_SAME, ", no difference", "was not compared", "differs from its image"};
    case JobKind::serving:
        return {"Served ", RESULT_SERVED, "", "is not served any more", exitStatus(EXIT_DIFFERENT).meaning};
    case JobKind::making:
        break;
    }
    return {"Made ", RESULT_MADE, "", "was not made", exitStatus(EXIT_DIFFERENT).meaning};
}

/// Whether the job has found the differences that it looked for.
bool isFinding(const Outcome& outcome) {
    return outcome.status == EXIT_DIFFERENT && outcome.kind != JobKind::making;
}

std::string additionText(const Outcome& outcome) {
    return (outcome.addition.empty() ? "" : ", ") + outcome.addition;
}

/// Ends a sentence, and adds what the user can do.
std::string withNextStep(const std::string& sentence, const Outcome& outcome) {
    const bool isEnded = std::string(".!?").find(sentence.back()) != std::string::npos;
    const auto step = nextStep(outcome);
    return sentence + (isEnded ? "" : ".") + (step.empty() ? "" : " ") + step;
}
} // namespace

std::string failureText(const Outcome& outcome) {
    if (outcome.status == EXIT_REFUSED) {
        return outcome.reason;
    }
    const char* const meaning =
        outcome.status == EXIT_DIFFERENT ? wordsOf(outcome).different : exitStatus(outcome.status).meaning;
    const std::string text = std::string(meaning) + " (" + std::to_string(outcome.status) + ")";
    return text + (outcome.reason.empty() ? "" : ": " + outcome.reason);
}

std::string nextStep(const Outcome& outcome) {
    if (!isFinding(outcome)) {
        return exitStatus(outcome.status).nextStep;
    }
    return outcome.kind == JobKind::comparing      ? "Burn it again, with another disc if it recurs."
           : outcome.kind == JobKind::comparingKey ? "Write it again, with another stick if it recurs."
                                                   : "";
}

std::string resultWord(const Outcome& outcome) {
    return outcome.status == 0              ? (outcome.wasRight ? RESULT_ALREADY : wordsOf(outcome).result)
           : outcome.status == EXIT_REFUSED ? RESULT_REFUSED
           : outcome.status == EXIT_INTERRUPTED ? RESULT_INTERRUPTED
           : isFinding(outcome)                 ? RESULT_DIFFERENT
                                                : RESULT_FAILED;
}

std::string readBackText(bool wasReadBack) {
    return wasReadBack ? ", read back" : "";
}

std::string resultText(const Outcome& outcome, bool wasReadBack) {
    if (outcome.status == EXIT_INTERRUPTED) {
        return outcome.hasChanged ? "interrupted, now incomplete" : "interrupted, left as it was";
    }
    if (outcome.status != 0) {
        return (isFinding(outcome) ? "" : resultWord(outcome) + ": ") + failureText(outcome);
    }
    return resultWord(outcome) + ", " + durationText(outcome.seconds) +
           (outcome.bytesPerSecond > 0 ? ", " + rateText(outcome.bytesPerSecond) : "") +
           readBackText(wasReadBack) + additionText(outcome);
}

std::string failureSentences(const Outcome& outcome) {
    return withNextStep(resultText(outcome, false), outcome);
}

void showFailures(Console& console, const Outcome& outcome, const std::string& name) {
    const bool isFailed = outcome.status != 0 && outcome.status != EXIT_REFUSED;
    if (!isFailed || outcome.status == EXIT_INTERRUPTED || console.isVerbose()) {
        return;
    }
    for (const auto& line : outcome.failures) {
        console.showUnlogged(name + line);
    }
}

JobResult resultForPrograms(const Outcome& outcome) {
    const auto told = inOwnWords(outcome);
    const auto word = resultWord(told);
    return {word == RESULT_SAME      ? "same"
            : word == RESULT_ALREADY ? "already"
                                     : word,
            exitStatus(told.status).status, told.status == 0 ? "" : failureText(told)};
}

Outcome inOwnWords(Outcome outcome) {
    if (outcome.status == EXIT_DIFFERENT || outcome.status == EXIT_INTERRUPTED) {
        return outcome;
    }
    if (outcome.reason.empty() && !outcome.failures.empty()) {
        outcome.reason = outcome.failures.back();
    }
    outcome.failures.clear();
    return outcome;
}

int conclude(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made) {
    console.events().endMedium(medium, resultForPrograms(outcome));
    return showResult(console, outcome, medium, made);
}

int showResult(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made) {
    const auto words = wordsOf(outcome);
    const std::string state = outcome.hasChanged ? "is now incomplete" : words.undone;
    if (outcome.status == 0) {
        console.say(words.done + medium + ", " + made + words.finding + ", in " +
                    durationText(outcome.seconds) + additionText(outcome));
        return 0;
    }
    if (outcome.status == EXIT_INTERRUPTED) {
        console.complain("interrupted; " + medium + " " + state);
        return outcome.status;
    }
    if (outcome.status == EXIT_REFUSED) {
        console.complain(outcome.reason);
        return outcome.status;
    }
    showFailures(console, outcome, "");
    const auto what = (isFinding(outcome) ? "" : state + ": ") + failureText(outcome);
    console.complain(withNextStep(medium + " " + what, outcome));
    return exitStatus(outcome.status).status;
}

} // namespace velacreate
