#include "tools.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace velacreate {

namespace {

bool isOnSearchPath(const std::string& name) {
    const char* searchPath = std::getenv("PATH");
    std::istringstream directories(searchPath != nullptr ? searchPath : "/usr/bin:/bin");
    for (std::string directory; std::getline(directories, directory, ':');) {
        if (access((directory + "/" + name).c_str(), X_OK) == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

ToolResult runTool(const std::vector<std::string>& command) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> capture(std::tmpfile(), std::fclose);
    if (!capture) {
        throw std::system_error(errno, std::generic_category(), "temporary file");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, fileno(capture.get()), STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);

    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const auto& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    pid_t child = 0;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        return {127, ""};
    }

    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    ToolResult result{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ""};
    std::rewind(capture.get());
    for (int byte = std::getc(capture.get()); byte != EOF; byte = std::getc(capture.get())) {
        result.output += static_cast<char>(byte);
    }
    return result;
}

void requireRoot() {
    if (geteuid() != 0) {
        throw Refusal("this needs root's rights");
    }
}

void requireTools(std::initializer_list<const char*> names) {
    for (const char* name : names) {
        if (!isOnSearchPath(name)) {
            throw Refusal(std::string("the program ") + name + " is not on the search path");
        }
    }
}

Toolkit findToolkit() {
    const char* chosen = std::getenv("VELACREATE_TOOLKIT");
    Toolkit toolkit{chosen != nullptr ? chosen : "", chosen == nullptr};
    if (toolkit.isOwn) {
        const auto home = fs::read_symlink("/proc/self/exe").parent_path();
        toolkit.folder = fs::exists(home / "toolkit") ? home / "toolkit" : home / VELACREATE_LIBEXEC;
    }
    for (const char* launcher : {"xorriso", "cdrecord"}) {
        if (access((toolkit.folder / launcher).c_str(), X_OK) != 0) {
            throw Refusal("the launcher " + shown(toolkit.folder / launcher) + " is missing");
        }
    }
    toolkit.folder = existing(toolkit.folder);
    return toolkit;
}

TemporaryDirectory::TemporaryDirectory(const fs::path& parent) {
    std::string name = parent / "velacreate-XXXXXX";
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "temporary directory in " + parent.string());
    }
    m_path = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    fs::remove_all(m_path, ignored);
}

const fs::path& TemporaryDirectory::path() const {
    return m_path;
}

} // namespace velacreate
