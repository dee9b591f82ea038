#include "commands.h"

#include "bootableMedia.h"

#include <chrono>
#include <ctime>
#include <filesystem>

#include <dlfcn.h>
#include <sys/wait.h>

std::vector<Command>& commands() {
    static std::vector<Command> all;
    return all;
}

double ownProcessorSeconds() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return static_cast<double>(used.tv_sec) + 1e-9 * static_cast<double>(used.tv_nsec);
}

// These replace the C library's functions, because symbols are looked up in the executable first.
extern "C" {

VELACREATION_EXPORT unsigned int sleep(unsigned int /*seconds*/) {
    return 0;
}

VELACREATION_EXPORT int system(const char* command) {
    using Clock = std::chrono::steady_clock;
    const double usedBefore = ownProcessorSeconds();
    static const auto realSystem = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));
    const std::string directory = std::filesystem::current_path().string();
    const auto start = Clock::now();
    const int status = realSystem(command);
    const std::chrono::duration<double> duration = Clock::now() - start;
    commands().push_back({directory, command, WEXITSTATUS(status), duration.count(), 0});
    commands().back().ownProcessorSeconds = ownProcessorSeconds() - usedBefore;
    return status;
}
}
