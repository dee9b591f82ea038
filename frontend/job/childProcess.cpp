#include "job/childProcess.h"

#include "job/heldSignals.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"

#include <array>
#include <csignal>
#include <iostream>

#include <fcntl.h>
#include <linux/sched.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace velacreate {
namespace {
bool mountsAreOwn = false;
int supervisorSocket = -1;

/// Like fork(), also with a descriptor of the process.
pid_t cloneProcess(std::uint64_t namespaces, int& descriptor) {
    clone_args arguments{};
    arguments.flags = namespaces | CLONE_PIDFD;
    arguments.pidfd = reinterpret_cast<std::uintptr_t>(&descriptor);
    arguments.exit_signal = SIGCHLD;
    return static_cast<pid_t>(syscall(SYS_clone3, &arguments, sizeof arguments));
}

bool write(const char* path, const std::string& text) {
    const Descriptor file(open(path, O_WRONLY | O_CLOEXEC));
    return file.isOpen() && writeText(file, text);
}

/// A user is nobody in a new user namespace until told who it is there: the same as before.
bool mapOwnIds(uid_t user, gid_t group) {
    const auto same = [](unsigned number) {
        return std::to_string(number) + " " + std::to_string(number) + " 1";
    };
    return write("/proc/self/setgroups", "deny") && write("/proc/self/uid_map", same(user)) &&
           write("/proc/self/gid_map", same(group));
}

void endAtOnce(int number) {
    _exit(EXIT_BY_SIGNAL + number);
}

void setUpProcess(int socket, int output) {
    setsid();
    supervisorSocket = socket;
    dieWithSupervisor();
    const Descriptor nothing(open("/dev/null", O_RDONLY | O_CLOEXEC));
    dup2(nothing.number(), STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    dup2(output, STDERR_FILENO);
    for (const int ignored : IGNORED_SIGNALS) {
        static_cast<void>(std::signal(ignored, SIG_DFL));
    }
    // The first process of a namespace gets only the signals that it handles.
    static_cast<void>(std::signal(SIGTERM, endAtOnce));
    unblockSignals();
}

int run(const std::function<int(Reporter&)>& work, int socket) {
    Reporter reporter(socket);
    return exitStatusAfter([&] { return work(reporter); }, [&](const char* text) { reporter.reason(text); });
}
} // namespace

ChildProcess::ChildProcess(int directory, const std::function<int(Reporter&)>& work) {
    std::array<int, 2> events{};
    std::array<int, 2> output{};
    check(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, events.data()) == 0)
        .orFail("no socket for the job");
    m_events = Descriptor(events[0]);
    const Descriptor jobsEvents(events[1]);
    check(pipe2(output.data(), O_CLOEXEC) == 0).orFail("no pipe for the job");
    m_output = Descriptor(output[0]);
    const Descriptor jobsOutput(output[1]);
    fcntl(m_output.number(), F_SETFL, O_NONBLOCK);
    std::cout.flush();

    const uid_t user = geteuid();
    const gid_t group = getegid();
    // The current directory is the only directory that a new process keeps in its own mounts.
    const Descriptor here(open(".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    check(fchdir(directory) == 0).orFail("the job directory cannot be entered");
    const std::uint64_t own = CLONE_NEWPID | CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER);
    int process = -1;
    bool isApart = true;
    m_number = cloneProcess(own, process);
    if (m_number < 0) {
        isApart = false;
        m_number = cloneProcess(0, process);
    }
    check(m_number >= 0).orFail("no process for the job");
    if (m_number == 0) {
        m_events = Descriptor();
        m_output = Descriptor();
        setUpProcess(jobsEvents.number(), jobsOutput.number());
        // What is unmounted outside must not stay mounted here.
        mountsAreOwn = isApart && (user == 0 || mapOwnIds(user, group)) &&
                       mount(nullptr, "/", nullptr, MS_REC | MS_SLAVE, nullptr) == 0;
        _exit(run(work, jobsEvents.number()));
    }
    m_process = Descriptor(process);
    [[maybe_unused]] const int back = fchdir(here.number());
}

// A process that was just started may not have its group yet. By its descriptor, no other process can be
// meant that got its number.
void ChildProcess::signal(int number) const {
    if (kill(-m_number, number) != 0) {
        syscall(SYS_pidfd_send_signal, m_process.number(), number, nullptr, 0);
    }
}

int ChildProcess::reap() const {
    signal(SIGKILL); // the rest of the group
    return exitStatusOf(m_number);
}

bool hasOwnMounts() {
    return mountsAreOwn;
}

// When the supervisor is gone already, nobody holds the other end of the socket any more.
void dieWithSupervisor() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd supervisor{supervisorSocket, POLLRDHUP, 0};
    if (poll(&supervisor, 1, 0) != 0) {
        _exit(EXIT_UNFINISHED);
    }
}

} // namespace velacreate
