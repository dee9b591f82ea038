#include "job/callerEnvironment.h"

#include "inputs/sourceDate.h"
#include "job/heldSignals.h"
#include "support/failure.h"
#include "support/programs.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <map>

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velacreate {
namespace {
std::string variable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): the only thread so far
    return value != nullptr ? value : "";
}

bool isKept(const std::string& name) {
    for (const char* kept : {"LANG", "LANGUAGE", "TZ", "TERM", SOURCE_DATE}) {
        if (name == kept) {
            return true;
        }
    }
    return name.rfind("LC_", 0) == 0;
}

void reduceEnvironment() {
    std::map<std::string, std::string> kept;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const char* const equals = std::strchr(*entry, '=');
        const std::string name =
            equals != nullptr ? std::string(*entry, static_cast<std::size_t>(equals - *entry)) : "";
        if (isKept(name)) {
            kept.emplace(name, equals + 1);
        }
    }
    clearenv(); // NOLINT(concurrency-mt-unsafe)
    kept["PATH"] = SEARCH_PATH;
    for (const auto& [name, value] : kept) {
        setenv(name.c_str(), value.c_str(), 1); // NOLINT(concurrency-mt-unsafe)
    }
}

void resetSignals() {
    struct sigaction hangUp {};
    sigaction(SIGHUP, nullptr, &hangUp);
    for (int number = 1; number < NSIG; ++number) {
        const bool isKeptIgnored = number == SIGHUP && hangUp.sa_handler == SIG_IGN; // set by nohup
        static_cast<void>(std::signal(number, isKeptIgnored ? SIG_IGN : SIG_DFL));
    }
    for (const int ignored : IGNORED_SIGNALS) {
        static_cast<void>(std::signal(ignored, SIG_IGN));
    }
    unblockSignals();
}

/// Each key of a call takes several descriptors.
void allowDescriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

void openStandardDescriptors() {
    int number = 0;
    do {
        number = open("/dev/null", O_RDWR | O_CLOEXEC);
        if (number >= 0 && number <= STDERR_FILENO) {
            fcntl(number, F_SETFD, 0);
        }
    } while (number >= 0 && number <= STDERR_FILENO);
    close(number);
    syscall(SYS_close_range, STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC);
}
} // namespace

CallerEnvironment isolateFromCaller() {
    openStandardDescriptors();
    resetSignals();
    umask(S_IWGRP | S_IWOTH);
    allowDescriptors();
    CallerEnvironment caller{variable("VELACREATE_TOOLKIT"), variable("TMPDIR")};
    reduceEnvironment();
    return caller;
}

void requireProc() {
    if (access("/proc/self/fd", F_OK) != 0) {
        throw Failure("'/proc' does not show this process; mount proc there");
    }
}

} // namespace velacreate
