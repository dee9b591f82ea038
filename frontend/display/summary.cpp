#include "display/summary.h"

#include "support/exitStatus.h"

#include <cmath>

namespace velacreate {

namespace {

std::string timeText(double seconds) {
    const auto whole = std::lround(seconds);
    return (whole < 60 ? "" : std::to_string(whole / 60) + " min ") + std::to_string(whole % 60) + " s";
}

std::string ended(const std::string& sentence) {
    return std::string(".!?").find(sentence.back()) != std::string::npos ? sentence : sentence + ".";
}

} // namespace

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
    std::string line = medium + state + ": " + status.meaning + " (" + std::to_string(outcome.status) + ")";
    if (!outcome.reason.empty()) {
        line += ": " + outcome.reason;
    }
    line = ended(line);
    console.complain(line + (*status.nextStep != '\0' ? std::string(" ") + status.nextStep : ""));
    return status.status;
}

} // namespace velacreate
