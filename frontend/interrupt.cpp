#include "interrupt.h"

#include <atomic>
#include <csignal>
#include <iostream>
#include <thread>

namespace velacreate {

namespace {

std::atomic<bool> interruptNoted{false};

} // namespace

void watchForInterrupt() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&signals, number);
    }
    // Blocked, not handled: the shell's caller ignores SIGINT while a command runs, but what is blocked stays
    // pending nevertheless. The commands inherit the block and run to their end.
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // A reader that closes our output must not leave a key mounted.
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
    std::thread([signals] {
        for (int number = 0; sigwait(&signals, &number) == 0;) {
            if (!interruptNoted.exchange(true)) {
                std::cerr << "velacreate: interrupted; the running step ends first\n";
            }
        }
    }).detach();
}

bool isInterrupted() {
    return interruptNoted;
}

} // namespace velacreate
