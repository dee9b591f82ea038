#include "commands.h"

#include "bootableMedia.h"

#include <chrono>
#include <filesystem>

#include <dlfcn.h>
#include <sys/wait.h>

std::vector<Command>& commands() {
    static std::vector<Command> all;
    return all;
}

// These take the place of the C library's: the executable comes first where the library's names are looked
// up.
extern "C" {

VELACREATION_EXPORT unsigned int sleep(unsigned int /*seconds*/) {
    return 0;
}

VELACREATION_EXPORT int system(const char* command) {
    using Clock = std::chrono::steady_clock;
    static const auto realSystem = reinterpret_cast<int (*)(const char*)>(dlsym(RTLD_NEXT, "system"));
    const std::string directory = std::filesystem::current_path().string();
    const auto start = Clock::now();
    const int status = realSystem(command);
    const std::chrono::duration<double> duration = Clock::now() - start;
    commands().push_back({directory, command, WEXITSTATUS(status), duration.count()});
    return status;
}
}
