#include "display/question.h"

#include "support/exitStatus.h"
#include "support/failure.h"

#include <array>
#include <cstring>
#include <functional>

#include <poll.h>
#include <termios.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// @param take  called with each character of a line but the line feed
/// @return 0, or EXIT_INTERRUPTED
int readLine(const HeldSignals& signals, const std::function<void(char)>& take) {
    for (;;) {
        std::array<pollfd, 2> sources = {
            {{STDIN_FILENO, POLLIN, 0}, {signals.descriptor().number(), POLLIN, 0}}};
        poll(sources.data(), sources.size(), -1);
        if (signals.take() != 0) {
            return EXIT_INTERRUPTED;
        }
        if (sources[0].revents == 0) {
            continue;
        }
        char character = '\n';
        if (read(STDIN_FILENO, &character, 1) <= 0 || character == '\n') {
            return 0;
        }
        take(character);
    }
}

/// The terminal shows nothing that is typed.
class Unseen {
public:
    Unseen() {
        check(tcgetattr(STDIN_FILENO, &m_before) == 0).orFail("the terminal");
        auto unseen = m_before;
        unseen.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        check(tcsetattr(STDIN_FILENO, TCSAFLUSH, &unseen) == 0).orFail("the terminal");
    }
    Unseen(const Unseen&) = delete;
    Unseen& operator=(const Unseen&) = delete;
    ~Unseen() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_before); }

private:
    termios m_before{};
};

/// @return whether it is probably a yes, such as "Yes" or "y"
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
    std::string answer;
    if (const int status = readLine(signals, [&](char character) { answer += character; }); status != 0) {
        console.endQuestion();
        return status;
    }
    if (answer != "yes") {
        throw Refusal(refused + (isMeantAsYes(answer) ? "; only the answer \"yes\" counts" : ""));
    }
    return 0;
}

void requireTypist(const std::string& what, const Console& console) {
    refuseIf(console.isQuiet(), "with --quiet nothing is asked, but " + what + " must be typed");
    refuseIf(isatty(STDIN_FILENO) == 0, "without a terminal, nobody can type " + what);
}

int askForPassPhrase(const HeldSignals& signals, const std::string& question, const Descriptor& to,
                     Console& console) {
    constexpr std::size_t longest = 1023; // that minisign reads
    std::array<char, longest + 1> typed{};
    std::size_t size = 0;
    const Unseen unseen;
    console.ask(question);
    const int status = readLine(signals, [&](char character) {
        if (size < longest) {
            typed[size++] = character;
        }
    });
    console.endQuestion();
    typed[size++] = '\n';
    if (status == 0) {
        writeAll(to, typed.data(), size, "the pass phrase");
    }
    explicit_bzero(typed.data(), typed.size());
    return status;
}

} // namespace velacreate
