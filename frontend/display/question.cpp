#include "display/question.h"

#include "support/exitStatus.h"
#include "support/failure.h"

#include <array>
#include <optional>

#include <poll.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// @return nothing after an interrupt
std::optional<std::string> readAnswer(const HeldSignals& signals) {
    std::string line;
    for (;;) {
        std::array<pollfd, 2> sources = {
            {{STDIN_FILENO, POLLIN, 0}, {signals.descriptor().number(), POLLIN, 0}}};
        poll(sources.data(), sources.size(), -1);
        if (signals.take() != 0) {
            return std::nullopt;
        }
        char character = '\n';
        if (sources[0].revents != 0 && (read(STDIN_FILENO, &character, 1) <= 0 || character == '\n')) {
            return line;
        }
        line += sources[0].revents != 0 ? std::string(1, character) : "";
    }
}

/// Who types "Yes" or "y" means it.
bool isMeantAsYes(const std::string& answer) {
    const auto first = answer.find_first_not_of(' ');
    return first != std::string::npos && (answer[first] == 'y' || answer[first] == 'Y');
}
} // namespace

int askForYes(const HeldSignals& signals, const std::string& allowed, const std::string& refused,
              Console& console) {
    refuseIf(console.isQuiet(), "with --quiet nothing is asked; add --yes");
    refuseIf(isatty(STDIN_FILENO) == 0, "without a terminal, only --yes lets " + allowed);
    console.ask("Type yes to go on:");
    const auto answer = readAnswer(signals);
    if (!answer) {
        console.endQuestion();
        return EXIT_INTERRUPTED;
    }
    if (*answer != "yes") {
        throw Refusal(refused + (isMeantAsYes(*answer) ? "; only the answer \"yes\" counts" : ""));
    }
    return 0;
}

} // namespace velacreate
