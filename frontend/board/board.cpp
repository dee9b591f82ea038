#include "board/board.h"

#include "board/boardServer.h"
#include "inputs/names.h"
#include "job/confinement.h"
#include "network/nobody.h"
#include "network/systemCalls.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <set>
#include <utility>

#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace velacreate {
namespace {
constexpr std::chrono::seconds SHORTEST_PAUSE(1); // from one start to the next
constexpr std::chrono::seconds LONGEST_PAUSE(60);
constexpr std::chrono::seconds NEWS_EVERY(5); // so that a page sees when the station does not go on

/// Closes what the station has open.
/// @param kept what stays open, in the order of their numbers
void closeOthers(const std::set<int>& kept) {
    unsigned first = STDERR_FILENO + 1;
    for (const int number : kept) {
        const auto next = static_cast<unsigned>(number);
        check(next == first || close_range(first, next - 1, 0) == 0).orFail("the station's files stay open");
        first = next + 1;
    }
    check(close_range(first, ~0U, 0) == 0).orFail("the station's files stay open");
}

/// In the board's process, which starts in a job directory. Its library folder stays empty.
int runBoard(const Descriptor& listener, const Descriptor& feed, const Reporter& reporter) {
    hideFiles(openBeneath(AT_FDCWD, LIBRARY_FOLDER, O_RDONLY | O_DIRECTORY));
    becomeNobody({});
    dieWithSupervisor();
    closeOthers({listener.number(), feed.number(), reporter.socket()});
    forbidSystemCalls();
    serveBoard(listener, feed);
    return 0;
}

/// @return why a process has ended, in its own words
std::string reasonOf(const ChildProcess& process) {
    std::string reason;
    for (auto event = receiveEvent(process.events()); event && event->kind != Event::Kind::end;
         event = receiveEvent(process.events())) {
        reason = event->text;
    }
    return reason.empty() ? "" : ": " + printable(reason);
}
} // namespace

Board::Board(Descriptor listener, const std::vector<std::string>& slots, const NamedDirectory& scratch,
             Console& console)
    : m_listener(std::move(listener)), m_directory(scratch), m_console(console), m_state(slots) {
    start();
    console.events().tellAlso([this](const std::string& line) { take(line); });
}

Board::~Board() {
    m_console.events().tellAlso(nullptr);
    if (m_process) {
        m_process->signal(SIGKILL);
        m_process->reap();
    }
}

void Board::take(const std::string& line) {
    if (!m_state.take(Json::parse(line)).is_null()) {
        m_outbox.add(line);
        send();
    }
}

void Board::showEnding() {
    m_state.setEnding();
    m_outbox.add(textOf(m_state.wholeAsEvent()));
    send();
}

void Board::look() {
    if (m_process && hasEnded()) {
        m_process->reap();
        m_console.log(VelaCreation::LEVEL_FAILURE, "The board has ended" + reasonOf(*m_process));
        m_process.reset();
    }
    if (!m_process && Clock::now() >= m_nextStart) {
        try {
            start();
        } catch (const Failure& failure) { // the keys go on
            m_console.log(VelaCreation::LEVEL_FAILURE, failure.what());
        }
    }
    if (Clock::now() >= m_nextNews) {
        m_nextNews = Clock::now() + NEWS_EVERY;
        m_outbox.add("{}\n");
    }
    send();
}

void Board::refreshFiles() const {
    m_directory.refresh();
}

void Board::start() {
    const auto now = Clock::now();
    m_pause = now - m_nextStart > LONGEST_PAUSE ? SHORTEST_PAUSE
                                                : std::clamp(2 * m_pause, SHORTEST_PAUSE, LONGEST_PAUSE);
    m_nextStart = now + m_pause;
    std::array<int, 2> feed{};
    check(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, feed.data()) == 0)
        .orFail("no socket for the board");
    m_feed = Descriptor(feed[0]);
    const Descriptor boardsEnd(feed[1]);
    m_process.emplace(m_directory.directory().number(),
                      [&](const Reporter& reporter) { return runBoard(m_listener, boardsEnd, reporter); });
    m_outbox = Outbox();
    send();
}

bool Board::hasEnded() const {
    pollfd ending{m_process->ending(), POLLIN, 0};
    return poll(&ending, 1, 0) != 0;
}

void Board::send() {
    const auto wholeState = [this] { return textOf(m_state.wholeAsEvent()); };
    for (auto rest = m_outbox.rest(wholeState); !rest.empty(); rest = m_outbox.rest(wholeState)) {
        const ssize_t count = ::send(m_feed.number(), rest.data(), rest.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count <= 0) {
            return;
        }
        m_outbox.sent(static_cast<std::size_t>(count));
    }
}

} // namespace velacreate
