#include "job/heldSignals.h"

#include "support/failure.h"

#include <csignal>

#include <sys/signalfd.h>
#include <unistd.h>

namespace velacreate {
namespace {
sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        struct sigaction current {};
        sigaction(number, nullptr, &current);
        if (current.sa_handler != SIG_IGN) { // set by nohup
            sigaddset(&signals, number);
        }
    }
    return signals;
}
} // namespace

void unblockSignals() {
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

HeldSignals::HeldSignals() {
    const sigset_t signals = endingSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    m_descriptor = Descriptor(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
    check(m_descriptor.isOpen()).orFail("no descriptor for signals");
}

int HeldSignals::take() const {
    signalfd_siginfo signal{};
    const bool isThere = read(m_descriptor.number(), &signal, sizeof signal) == sizeof signal;
    m_hadOne = m_hadOne || isThere;
    return isThere ? static_cast<int>(signal.ssi_signo) : 0;
}

} // namespace velacreate
