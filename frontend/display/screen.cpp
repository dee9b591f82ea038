#include "display/screen.h"

#include "support/failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace velacreate {
namespace {
using Clock = std::chrono::steady_clock;

constexpr int FOR_EVER = -1;

int milliseconds(Clock::duration time) {
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(time).count());
}
} // namespace

void Screen::watchInterrupts(int interrupts) {
    m_interrupts = Descriptor(fcntl(interrupts, F_DUPFD_CLOEXEC, 0));
    check(m_interrupts.isOpen()).orFail("no descriptor for interrupts");
}

void Screen::write(int descriptor, const std::string& text) const {
    for (std::size_t at = 0; at < text.size();) {
        if (!canWrite(descriptor)) {
            return;
        }
        // A pipe that is ready takes this much at once.
        const auto size = std::min<std::size_t>(text.size() - at, PIPE_BUF);
        const ssize_t written = ::write(descriptor, text.data() + at, size);
        if (written < 0 && errno != EINTR && errno != EAGAIN) {
            return;
        }
        at += static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
}

bool Screen::isReady(int descriptor) const {
    pollfd reader{descriptor, POLLOUT, 0};
    return poll(&reader, 1, 0) == 1;
}

bool Screen::canWrite(int descriptor) const {
    if (!m_waits) {
        return isReady(descriptor);
    }
    for (;;) {
        std::array<pollfd, 2> sources = {
            {{descriptor, POLLOUT, 0}, {m_hasStopped ? -1 : m_interrupts.number(), POLLIN, 0}}};
        const auto start = Clock::now();
        const int ready =
            poll(sources.data(), sources.size(), m_hasStopped ? milliseconds(m_patience) : FOR_EVER);
        if (m_hasStopped) {
            m_patience -= std::min(m_patience, Clock::now() - start);
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
        if (sources[0].revents != 0) {
            return true;
        }
        if (ready == 0) {
            return false;
        }
        m_hasStopped = m_hasStopped || sources[1].revents != 0;
    }
}

} // namespace velacreate
