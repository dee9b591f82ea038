// Laid over a program, it takes the pauses out of its jobs. At the one that INTERRUPT_AT counts to, the user
// presses Ctrl-C.
#include <csignal>
#include <cstdlib>
#include <string>

#include <unistd.h>

__attribute__((visibility("default"))) unsigned sleep(unsigned /*seconds*/) {
    static int pauses = 0;
    const char* const interruptAt = std::getenv("INTERRUPT_AT");
    if (interruptAt != nullptr && std::to_string(++pauses) == interruptAt) {
        kill(getpid(), SIGINT);
        usleep(200000);
    }
    return 0;
}
