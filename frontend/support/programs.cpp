#include "support/programs.h"

#include "support/descriptor.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <array>
#include <cerrno>
#include <sstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velacreate {
namespace {
struct Origin {
    const char* program;
    const char* package;
};
constexpr Origin ORIGINS[] = {
    {"unzip", "unzip"},          {"zip", "zip"},
    {"xorriso", "xorriso"},      {"genisoimage", "genisoimage"},
    {"wodim", "wodim"},          {"mkfs.vfat", "dosfstools"},
    {"mkfs", "util-linux"},      {"sfdisk", "fdisk"},
    {"mount", "mount"},          {"umount", "mount"},
    {"dnsmasq", "dnsmasq-base"}, {"minisign", "minisign"},
    {"lighttpd", "lighttpd"},
};

std::string advice(const std::string& program) {
    for (const Origin& origin : ORIGINS) {
        if (program == origin.program) {
            return std::string("; install the package ") + origin.package;
        }
    }
    return "";
}

/// Standard input is empty. Standard output and standard error go to the same file.
class Streams {
public:
    explicit Streams(int output) {
        posix_spawn_file_actions_init(&m_actions);
        posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
        posix_spawn_file_actions_adddup2(&m_actions, output, STDERR_FILENO);
    }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;
    ~Streams() { posix_spawn_file_actions_destroy(&m_actions); }

    const posix_spawn_file_actions_t* actions() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// @return the number of the process; 0 when the program cannot be started
pid_t start(const std::vector<std::string>& command, int output) {
    const auto arguments = argumentsOf(command);
    const Streams streams(output);
    pid_t process = 0;
    if (posix_spawnp(&process, arguments[0], streams.actions(), nullptr, arguments.data(), environ) != 0) {
        return 0;
    }
    return process;
}

std::string contentOf(const Descriptor& file) {
    std::string content;
    std::array<char, 4096> buffer{};
    for (;;) {
        const ssize_t count =
            pread(file.number(), buffer.data(), buffer.size(), static_cast<off_t>(content.size()));
        check(count >= 0).orFail("reading a program's output");
        if (count == 0) {
            return content;
        }
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
}
} // namespace

std::string pathOf(const std::string& program, const char* searchPath) {
    std::istringstream directories(searchPath);
    for (std::string directory; std::getline(directories, directory, ':');) {
        auto path = directory + "/" + program;
        if (access(path.c_str(), X_OK) == 0) {
            return path;
        }
    }
    return "";
}

int exitStatusOf(pid_t process) {
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        check(errno == EINTR).orFail("waiting for a process");
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : EXIT_BY_SIGNAL + WTERMSIG(status);
}

std::vector<char*> argumentsOf(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str())); // exec functions do not change it
    }
    arguments.push_back(nullptr);
    return arguments;
}

// The output goes to a file in memory: a background process of the program would keep a pipe open.
ProgramResult runProgram(const std::vector<std::string>& command) {
    const Descriptor output(memfd_create("output", MFD_CLOEXEC));
    check(output.isOpen()).orFail("a file for a program's output");
    const pid_t process = start(command, output.number());
    if (process == 0) {
        return {127, ""};
    }
    const int status = exitStatusOf(process);
    return {status, contentOf(output)};
}

void requireRoot(const std::string& what) {
    refuseIf(geteuid() != 0, what + " takes root's rights; run this with sudo");
}

void requirePrograms(const std::vector<const char*>& names, const char* searchPath) {
    for (const char* name : names) {
        refuseIf(pathOf(name, searchPath).empty(),
                 std::string("the program ") + name + " is missing" + advice(name));
    }
}

} // namespace velacreate
