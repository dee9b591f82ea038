#include "display/summary.h"

#include "support/exitStatus.h"

#include <cmath>
#include <iomanip>
#include <sstream>

namespace velacreate {

namespace {

std::string timeText(double seconds) {
    const auto whole = std::lround(seconds);
    return (whole < 60 ? "" : std::to_string(whole / 60) + " min ") + std::to_string(whole % 60) + " s";
}

std::string ended(const std::string& sentence) {
    return std::string(".!?").find(sentence.back()) != std::string::npos ? sentence : sentence + ".";
}

std::string rateText(double bytesPerSecond) {
    std::ostringstream text;
    const double megabytes = bytesPerSecond / 1e6;
    text << std::fixed << std::setprecision(megabytes < 10 ? 1 : 0) << megabytes << " MB/s";
    return text.str();
}

} // namespace

std::string failureText(const Outcome& outcome) {
    if (outcome.status == EXIT_REFUSED) {
        return outcome.reason;
    }
    const std::string text =
        std::string(exitStatus(outcome.status).meaning) + " (" + std::to_string(outcome.status) + ")";
    return text + (outcome.reason.empty() ? "" : ": " + outcome.reason);
}

std::string resultText(const Outcome& outcome, bool wasReadBack) {
    if (outcome.status == EXIT_INTERRUPTED) {
        return outcome.hasChanged ? "interrupted, now incomplete" : "interrupted, left as it was";
    }
    if (outcome.status != 0) {
        return "failed: " + failureText(outcome);
    }
    return "made, " + timeText(outcome.seconds) +
           (outcome.bytesPerSecond > 0 ? ", " + rateText(outcome.bytesPerSecond) : "") +
           (wasReadBack ? ", read back" : "");
}

int conclude(Console& console, const Outcome& outcome, const std::string& medium, const std::string& made) {
    const auto& status = exitStatus(outcome.status);
    const std::string state = outcome.hasChanged ? " is now incomplete" : " was not made";
    if (outcome.status == 0) {
        console.say("Made " + medium + ", " + made + ", in " + timeText(outcome.seconds));
        return 0;
    }
    if (outcome.status == EXIT_INTERRUPTED) {
        console.complain("interrupted; " + medium + state);
        return outcome.status;
    }
    if (outcome.status == EXIT_REFUSED) {
        console.complain(outcome.reason);
        return outcome.status;
    }
    if (!console.isVerbose()) {
        for (const auto& line : outcome.failures) {
            console.showLogged(line);
        }
    }
    const auto line = ended(medium + state + ": " + failureText(outcome));
    console.complain(line + (*status.nextStep != '\0' ? std::string(" ") + status.nextStep : ""));
    return status.status;
}

} // namespace velacreate
