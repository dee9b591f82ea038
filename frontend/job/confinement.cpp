#include "job/confinement.h"

#include "job/childProcess.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"

#include <cap-ng.h>

#include <csignal>
#include <fstream>
#include <new>

#include <linux/landlock.h>
#include <malloc.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr rlim_t MORE_MEMORY = 256U << 20U;
constexpr unsigned SECONDS_WITHOUT_PROGRESS = 20;
bool isConfined = false;

void limitMemory() {
    rlim_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t most = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + MORE_MEMORY;
    const rlimit memory{most, most};
    const rlimit none{0, 0};
    mallopt(M_ARENA_MAX, 1); // each thread would take a large part of it at once
    check(pages != 0 && setrlimit(RLIMIT_AS, &memory) == 0 && setrlimit(RLIMIT_CORE, &none) == 0)
        .orFail("the memory cannot be limited");
}

/// Descriptors of directories that were opened before lead out of a root directory, and a process may be
/// unable to change that. A kernel may lack this.
void leaveOnlyBeneath(const Descriptor& visible) {
    landlock_ruleset_attr rules{};
    rules.handled_access_fs = (LANDLOCK_ACCESS_FS_MAKE_SYM << 1U) - 1;
    const Descriptor ruleset(static_cast<int>(syscall(SYS_landlock_create_ruleset, &rules, sizeof rules, 0)));
    if (!ruleset.isOpen()) {
        return;
    }
    landlock_path_beneath_attr beneath{};
    beneath.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
    beneath.parent_fd = visible.number();
    check(syscall(SYS_landlock_add_rule, ruleset.number(), LANDLOCK_RULE_PATH_BENEATH, &beneath, 0) == 0 &&
          syscall(SYS_landlock_restrict_self, ruleset.number(), 0) == 0)
        .orFail("the files of this machine cannot be hidden");
}

void giveUpPrivileges() {
    capng_clear(CAPNG_SELECT_ALL);
    check(capng_apply(hasOwnMounts() ? CAPNG_SELECT_ALL : CAPNG_SELECT_CAPS) == 0)
        .orFail("the privileges cannot be given up");
}

void confine(const Descriptor& visible) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    limitMemory();
    check(fchdir(visible.number()) == 0 && prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0)
        .orFail("the job directory cannot be entered");
    check(!hasOwnMounts() || chroot(".") == 0).orFail("the files of this machine cannot be hidden");
    leaveOnlyBeneath(visible);
    giveUpPrivileges();
    isConfined = true;
    prolong();
}

int runIn(const Descriptor& visible, const std::function<int()>& work) {
    try {
        confine(visible);
        return work();
    } catch (const std::bad_alloc&) {
        throw Failure("there is not enough memory to read it");
    }
}
} // namespace

int runConfined(const Descriptor& visible, const std::function<int()>& work, const Reporter& reporter) {
    const pid_t process = fork();
    check(process >= 0).orFail("no process to read the medium");
    if (process == 0) {
        _exit(exitStatusAfter([&] { return runIn(visible, work); },
                              [&](const char* text) { reporter.reason(text); }));
    }
    const int status = exitStatusOf(process);
    if (status == EXIT_BY_SIGNAL + SIGALRM) {
        throw Failure("there was no progress for " + std::to_string(SECONDS_WITHOUT_PROGRESS) + " s");
    }
    return status;
}

void prolong() {
    if (isConfined) {
        alarm(SECONDS_WITHOUT_PROGRESS);
    }
}

} // namespace velacreate
