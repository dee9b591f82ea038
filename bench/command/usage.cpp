// Runs a program and appends a line to a file: the processor seconds of the program itself, then those of all
// that it started and waited for. Ends as the program does.
//
//   usage FILE PROGRAM [ARGUMENT...]
#include <fstream>
#include <iostream>
#include <limits>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

struct ProcessorTicks {
    long user = 0, system = 0, childrensUser = 0, childrensSystem = 0;
};

ProcessorTicks ticksOf(pid_t process) {
    constexpr auto EVER = std::numeric_limits<std::streamsize>::max();
    constexpr int FIELDS_BETWEEN = 11;
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    file.ignore(EVER, ')'); // behind its name, which may hold blanks
    std::string skipped;
    for (int field = 0; field < FIELDS_BETWEEN; ++field) {
        file >> skipped;
    }
    ProcessorTicks ticks;
    file >> ticks.user >> ticks.system >> ticks.childrensUser >> ticks.childrensSystem;
    return ticks;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::cerr << "usage: see the head of its source for how it is called" << std::endl;
        return 1;
    }
    const pid_t process = fork();
    if (process == 0) {
        execvp(argv[2], argv + 2);
        _exit(127);
    }
    siginfo_t ending{};
    const auto id = static_cast<id_t>(process);
    if (process < 0 ||
        waitid(P_PID, id, &ending, WEXITED | WNOWAIT) != 0) { // reaped, its times would be gone
        return 1;
    }
    const ProcessorTicks ticks = ticksOf(process);
    waitid(P_PID, id, &ending, WEXITED);

    const auto perSecond = static_cast<double>(sysconf(_SC_CLK_TCK));
    std::ofstream(argv[1], std::ios::app)
        << static_cast<double>(ticks.user + ticks.system) / perSecond << ' '
        << static_cast<double>(ticks.childrensUser + ticks.childrensSystem) / perSecond << '\n';
    return ending.si_code == CLD_EXITED ? ending.si_status : 128 + ending.si_status;
}
