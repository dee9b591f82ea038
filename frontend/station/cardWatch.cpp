#include "station/cardWatch.h"

#include "support/failure.h"

#include <array>
#include <climits>
#include <csignal>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velacreate {
namespace {
/// Until the station has closed its end. The kernel asks a drive that is opened.
[[noreturn]] void askDrives(int nodes) {
    dup2(nodes, STDIN_FILENO);
    close_range(STDIN_FILENO + 1, ~0U, 0);
    std::array<char, NAME_MAX + 1> node{};
    while (recv(STDIN_FILENO, node.data(), node.size() - 1, 0) > 0) {
        close(open(node.data(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        node.fill('\0');
    }
    _exit(0);
}
} // namespace

CardWatch::CardWatch() {
    std::array<int, 2> ends{};
    check(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) == 0)
        .orFail("no socket to ask drives");
    m_nodes = Descriptor(ends[0]);
    const Descriptor askers(ends[1]);
    m_process = fork();
    check(m_process >= 0).orFail("no process to ask drives");
    if (m_process == 0) {
        askDrives(askers.number());
    }
}

CardWatch::~CardWatch() {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}

void CardWatch::ask(const std::string& node) const {
    send(m_nodes.number(), node.data(), node.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

} // namespace velacreate
