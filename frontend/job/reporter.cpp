#include "job/reporter.h"

#include <keepErrno.h>
#include <mediaRules.h>

#include <array>
#include <cerrno>

#include <sys/socket.h>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST = 32768; // longer texts are cut
} // namespace

void Reporter::stage(const std::string& text, std::uint64_t bytes) {
    m_done = 0;
    send(Event::Kind::stage, text);
    if (bytes != 0) {
        send(Event::Kind::expected, std::to_string(bytes));
    }
}

void Reporter::advance(std::uint64_t bytes) {
    m_done += bytes;
    const auto now = std::chrono::steady_clock::now();
    if (now - m_told >= std::chrono::milliseconds(100)) {
        m_told = now;
        send(Event::Kind::done, std::to_string(m_done));
    }
}

void Reporter::message(int level, const std::string& text) const {
    send(level == VelaCreation::LEVEL_FAILURE ? Event::Kind::failure : Event::Kind::progress, text);
}

void Reporter::send(Event::Kind kind, const std::string& text) const {
    const VelaCreation::KeepErrno keepErrno;
    const std::string event = static_cast<char>(kind) + text.substr(0, LONGEST);
    while (::send(m_socket, event.data(), event.size(), MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
}

std::optional<Event> receiveEvent(int socket) {
    std::array<char, LONGEST + 1> buffer{};
    const ssize_t size = recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT);
    if (size < 0) {
        return std::nullopt;
    }
    if (size == 0) {
        return Event{Event::Kind::end, ""};
    }
    return Event{static_cast<Event::Kind>(buffer[0]),
                 {buffer.data() + 1, static_cast<std::size_t>(size - 1)}};
}

} // namespace velacreate
