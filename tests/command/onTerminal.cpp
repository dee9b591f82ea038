// Runs a command on a terminal of its own, prints what appears there and ends as the command does.
//
//   onTerminal WIDTH [TEXT ANSWER] -- COMMAND...     once TEXT has appeared, ANSWER is typed

#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

pid_t start(char** command, int width, int& terminal) {
    const winsize size{24, static_cast<unsigned short>(width), 0, 0};
    const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
    if (process == 0) {
        execvp(*command, command);
        _exit(127);
    }
    return process;
}

/// @return whether there was nothing to type, or it was typed
bool watch(int terminal, const std::string& text, const std::string& answer) {
    std::string shown;
    bool isAnswered = answer.empty();
    char bytes[4096];
    for (ssize_t count = 0; (count = read(terminal, bytes, sizeof bytes)) > 0;) {
        shown.append(bytes, static_cast<std::size_t>(count));
        std::cout.write(bytes, count).flush();
        if (!isAnswered && shown.find(text) != std::string::npos) {
            isAnswered = write(terminal, answer.data(), answer.size()) > 0;
        }
    }
    return isAnswered;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv, argv + argc);
    const std::size_t dashes = arguments.size() > 2 && arguments[2] == "--" ? 2 : 4;
    if (arguments.size() < dashes + 2 || arguments[dashes] != "--") {
        std::cerr << "Usage: onTerminal WIDTH [TEXT ANSWER] -- COMMAND...\n";
        return EXIT_FAILURE;
    }
    setenv("TERM", "xterm", 1);
    int terminal = -1;
    const pid_t process = start(argv + dashes + 1, std::stoi(arguments[1]), terminal);
    const bool isAnswered = watch(terminal, dashes == 4 ? arguments[2] : "", dashes == 4 ? arguments[3] : "");
    int status = 0;
    waitpid(process, &status, 0);
    if (!isAnswered) {
        std::cerr << "onTerminal: nobody asked\n";
        return EXIT_FAILURE;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
