#include "job/supervisor.h"

#include "support/exitStatus.h"
#include "support/failure.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace velacreate {

namespace {

using Clock = std::chrono::steady_clock;

constexpr auto REDRAWN_EVERY = std::chrono::milliseconds(200);
constexpr auto KILL_GRACE_PERIOD = std::chrono::seconds(5);
constexpr int GAUGE_SHARE = 100; // a look at a gauge may take one part in so many of the time

sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        struct sigaction current {};
        sigaction(number, nullptr, &current);
        if (current.sa_handler != SIG_IGN) { // as under nohup
            sigaddset(&signals, number);
        }
    }
    return signals;
}

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

/// A job that runs, and what it has told so far.
class Running {
public:
    /// @param isAlone  whether there is no other medium, so that messages need not name this one
    Running(const MediumJob& job, std::size_t index, bool isAlone, Console& console, Progress& progress)
        : m_job(job), m_index(index), m_name(isAlone ? "" : job.medium + ": "), m_console(console),
          m_progress(progress), m_process(job.jobDirectory, job.work) {
        m_outcome.kind = job.kind;
    }

    const ChildProcess& process() const { return m_process; }
    std::size_t index() const { return m_index; }
    bool isBurning() const { return m_isBurning; }

    /// What may become readable.
    std::vector<int> sources() const {
        return {m_process.ending(), m_hasEvents ? m_process.events() : -1,
                m_hasOutput ? m_process.output() : -1};
    }

    void listen() {
        for (auto event = receiveEvent(m_process.events()); m_hasEvents && event;
             event = receiveEvent(m_process.events())) {
            take(*event);
        }
        std::array<char, 4096> bytes{};
        ssize_t size = 0;
        while ((size = read(m_process.output(), bytes.data(), bytes.size())) > 0) {
            m_said.append(bytes.data(), static_cast<std::size_t>(size));
        }
        m_hasOutput = size != 0;
        for (auto end = m_said.find('\n'); end != std::string::npos; end = m_said.find('\n')) {
            takeFailure(m_said.substr(0, end));
            m_said.erase(0, end + 1);
        }
    }

    void lookAtGauge() {
        const auto start = Clock::now();
        if (m_gauge != nullptr && start >= m_nextLook) {
            m_progress.done(m_index, shownByGauge());
            m_nextLook = Clock::now() + (Clock::now() - start) * GAUGE_SHARE;
        }
    }

    /// @param isInterrupted  whether it was told to end
    Outcome end(bool isInterrupted) {
        listen();
        m_outcome.status = m_process.reap();
        listen();
        if (!m_said.empty()) {
            takeFailure(m_said);
        }
        if (isInterrupted && m_outcome.status != 0) {
            m_outcome.status = EXIT_INTERRUPTED;
            m_outcome.hasChanged = m_outcome.hasChanged || m_isBurning; // a disc that is spoiled
        }
        leaveGauge();
        m_outcome.seconds = secondsSince(m_start);
        m_outcome.bytesPerSecond = m_gauged > 0 ? static_cast<double>(m_written) / m_gauged : 0;
        m_progress.ended(m_index, resultText(m_outcome, false));
        if (!m_name.empty()) {
            m_console.say(m_name + resultText(m_outcome, false));
        }
        if (m_job.ended) {
            m_job.ended(m_outcome);
        }
        return m_outcome;
    }

private:
    void take(const Event& event) {
        switch (event.kind) {
        case Event::Kind::stage: {
            leaveGauge();
            const auto found = m_job.gauges.find(event.text);
            m_gauge = found != m_job.gauges.end() ? &found->second : nullptr;
            if (m_gauge != nullptr) {
                shownByGauge();
            }
            m_console.log(2, m_name + event.text);
            m_progress.stage(m_index, event.text, m_gauge != nullptr ? m_gauge->expected : 0);
            break;
        }
        case Event::Kind::expected:
            m_progress.expect(m_index, std::stoull(event.text));
            break;
        case Event::Kind::done:
            m_progress.done(m_index, std::stoull(event.text));
            break;
        case Event::Kind::failure:
            takeFailure(event.text);
            break;
        case Event::Kind::progress:
            m_console.message(2, m_name + event.text);
            break;
        case Event::Kind::changing:
            m_outcome.hasChanged = true;
            break;
        case Event::Kind::burning:
            m_isBurning = true;
            break;
        case Event::Kind::finding:
            m_console.say(m_name + event.text);
            break;
        case Event::Kind::note:
            m_console.say("Note: " + m_name + event.text);
            break;
        case Event::Kind::reason:
            m_outcome.reason = event.text;
            break;
        case Event::Kind::end:
            m_hasEvents = false;
            break;
        }
    }

    void takeFailure(const std::string& text) {
        m_outcome.failures.push_back(text);
        m_console.message(0, m_name + text);
    }

    std::uint64_t shownByGauge() {
        const auto shown = m_gauge->done();
        m_shownFirst = m_shownFirst.value_or(shown);
        return std::max(shown, *m_shownFirst) - *m_shownFirst;
    }

    /// What the gauge has shown is kept, for the rate.
    void leaveGauge() {
        if (m_gauge != nullptr) {
            m_written = std::max(m_written, shownByGauge());
            m_gauged += secondsSince(m_stageStart);
        }
        m_gauge = nullptr;
        m_stageStart = Clock::now();
    }

    const MediumJob& m_job;
    std::size_t m_index;
    std::string m_name;
    Console& m_console;
    Progress& m_progress;
    ChildProcess m_process;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_nextLook;
    Clock::time_point m_stageStart = Clock::now();
    const Gauge* m_gauge = nullptr;
    std::optional<std::uint64_t> m_shownFirst;
    std::uint64_t m_written = 0; ///< by the gauges of the stages before
    double m_gauged = 0;         ///< seconds in them
    std::string m_said;
    bool m_hasEvents = true;
    bool m_hasOutput = true;
    bool m_isBurning = false;
    Outcome m_outcome{0, "", {}, false, 0};
};

/// All jobs of one call.
class Supervision {
public:
    Supervision(const std::vector<MediumJob>& jobs, std::size_t atOnce, const HeldSignals& signals,
                Console& console, Progress& progress)
        : m_jobs(jobs), m_atOnce(atOnce), m_signals(signals), m_console(console), m_progress(progress),
          m_outcomes(jobs.size(), Outcome{EXIT_INTERRUPTED, "", {}, false, 0}) {
        for (std::size_t index = 0; index < jobs.size(); ++index) {
            m_outcomes[index].kind = jobs[index].kind;
        }
    }

    std::vector<Outcome> run() {
        while (startMore(), !m_running.empty()) {
            for (auto* job : wait()) {
                job->listen();
            }
            if (const int number = m_signals.take(); number != 0) {
                interrupt(number);
            }
            if (m_killTime && Clock::now() >= *m_killTime) {
                signalAll(SIGKILL);
            }
            removeEnded();
            if (m_progress.isLive()) {
                redraw();
            }
        }
        return m_outcomes;
    }

private:
    void startMore() {
        while (!m_killTime && m_next < m_jobs.size() && m_running.size() < m_atOnce) {
            try {
                m_running.push_back(std::make_unique<Running>(m_jobs[m_next], m_next, m_jobs.size() == 1,
                                                              m_console, m_progress));
            } catch (const Failure& failure) { // and those that run go on
                m_outcomes.at(m_next).status = EXIT_UNFINISHED;
                m_outcomes.at(m_next).reason = failure.what();
            }
            ++m_next;
        }
    }

    /// @return those that have something to tell
    std::vector<Running*> wait() const {
        std::vector<pollfd> sources = {{m_signals.descriptor().number(), POLLIN, 0}};
        for (const auto& job : m_running) {
            for (const int descriptor : job->sources()) {
                sources.push_back({descriptor, POLLIN, 0});
            }
        }
        const bool isTimed = m_progress.isLive() || m_killTime;
        poll(sources.data(), sources.size(), isTimed ? static_cast<int>(REDRAWN_EVERY.count()) : -1);
        std::vector<Running*> telling;
        auto source = sources.begin() + 1;
        for (const auto& job : m_running) {
            const auto end = source + static_cast<std::ptrdiff_t>(job->sources().size());
            if (std::any_of(source, end, [](const pollfd& of) { return of.revents != 0; })) {
                telling.push_back(job.get());
            }
            source = end;
        }
        return telling;
    }

    void interrupt(int number) {
        const bool isBurning =
            std::any_of(m_running.begin(), m_running.end(), [](const auto& job) { return job->isBurning(); });
        if (isBurning && number == SIGINT && !m_hasWarned) {
            m_hasWarned = true;
            m_console.complain("this would spoil the disc; press Ctrl-C once more to end nevertheless");
            return;
        }
        m_console.screen().stopWaiting();
        signalAll(m_killTime ? SIGKILL : SIGTERM);
        m_killTime = m_killTime.value_or(Clock::now() + KILL_GRACE_PERIOD);
    }

    void signalAll(int number) const {
        for (const auto& job : m_running) {
            job->process().signal(number);
        }
    }

    void removeEnded() {
        for (auto job = m_running.begin(); job != m_running.end();) {
            pollfd ending{(*job)->process().ending(), POLLIN, 0};
            if (poll(&ending, 1, 0) == 0) {
                ++job;
                continue;
            }
            Outcome& outcome = m_outcomes.at((*job)->index());
            outcome = (*job)->end(m_killTime.has_value());
            job = m_running.erase(job);
        }
    }

    void redraw() {
        if (Clock::now() - m_drawn >= REDRAWN_EVERY) {
            for (const auto& job : m_running) {
                job->lookAtGauge();
            }
            m_progress.draw();
            m_drawn = Clock::now();
        }
    }

    const std::vector<MediumJob>& m_jobs;
    std::size_t m_atOnce;
    const HeldSignals& m_signals;
    Console& m_console;
    Progress& m_progress;
    std::vector<Outcome> m_outcomes;
    std::vector<std::unique_ptr<Running>> m_running;
    std::size_t m_next = 0;
    std::optional<Clock::time_point> m_killTime; ///< when jobs that were told to end are killed
    bool m_hasWarned = false;
    Clock::time_point m_drawn;
};

} // namespace

HeldSignals::HeldSignals() {
    const sigset_t signals = endingSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    m_descriptor = Descriptor(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!m_descriptor.isOpen()) {
        throw Failure(SystemError().about("no descriptor for signals"));
    }
}

int HeldSignals::take() const {
    signalfd_siginfo signal{};
    const bool isThere = read(m_descriptor.number(), &signal, sizeof signal) == sizeof signal;
    m_hadOne = m_hadOne || isThere;
    return isThere ? static_cast<int>(signal.ssi_signo) : 0;
}

std::vector<Outcome> supervise(const std::vector<MediumJob>& jobs, std::size_t atOnce,
                               const HeldSignals& signals, Console& console) {
    std::vector<std::string> media;
    media.reserve(jobs.size());
    for (const auto& job : jobs) {
        media.push_back(job.medium);
    }
    console.watchInterrupts(signals.descriptor().number());
    Progress& progress = console.beginProgress(media);
    auto outcomes = Supervision(jobs, atOnce, signals, console, progress).run();
    console.endProgress();
    return outcomes;
}

} // namespace velacreate
