#include "job/supervisor.h"

#include "display/summary.h"
#include "job/childProcess.h"
#include "support/exitStatus.h"
#include "support/failure.h"

#include <mediaRules.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <list>
#include <optional>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace velacreate {
namespace {
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds REDRAWN_EVERY(200);
constexpr std::chrono::milliseconds CHECKED_EVERY(1000); // between two checks of what a job needs
constexpr auto KILL_GRACE_PERIOD = std::chrono::seconds(5);
constexpr int GAUGE_SHARE = 100;           // of the time between two looks, one look takes at most this part
constexpr std::size_t LONGEST_LINE = 4096; // of a server's output

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

Outcome notRun(const MediumJob& job) {
    return {EXIT_INTERRUPTED, "", {}, false, 0, 0, job.kind};
}

/// A running job and what it has reported.
class RunningJob {
public:
    /// @param isAlone whether it is the only medium, so that messages need not name it
    /// @param isEndShown whether its end is shown when it is one of several
    RunningJob(NextJob next, bool isAlone, bool isEndShown, Console& console, Progress& progress)
        : m_job(std::move(next.job)), m_index(next.medium), m_name(isAlone ? "" : m_job.medium + ": "),
          m_isEndShown(isEndShown), m_outcome(notRun(m_job)), m_console(console), m_progress(progress),
          m_process(m_job.jobDirectory, m_job.work) {
        events().beginMedium(m_job.medium);
    }

    std::size_t medium() const { return m_index; }
    const Outcome& outcome() const { return m_outcome; }

    bool isBurning() const { return m_isBurning; }
    void signal(int number) const { m_process.signal(number); }

    /// Descriptors to wait for; -1 where there is nothing more to read.
    std::array<int, 3> sources() const {
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
            takeLine(m_said.substr(0, end));
            m_said.erase(0, end + 1);
        }
        if (m_job.isServer()) {
            m_said.resize(std::min(m_said.size(), LONGEST_LINE));
        }
    }

    void lookAtGauge() {
        const auto start = Clock::now();
        if (m_gauge != nullptr && start >= m_nextLook) {
            takeDone(shownByGauge());
            m_nextLook = Clock::now() + (Clock::now() - start) * GAUGE_SHARE;
        }
    }

    void checkWhatItNeeds() {
        if (m_job.whatIsGone && m_gone.empty() && Clock::now() >= m_nextCheck) {
            m_gone = m_job.whatIsGone();
            m_nextCheck = Clock::now() + CHECKED_EVERY;
            if (!m_gone.empty()) {
                signal(SIGKILL);
            }
        }
    }

    /// @param isInterrupted whether it was told to end
    /// @return whether it has ended; its outcome is then complete
    bool concludeIfEnded(bool isInterrupted) {
        pollfd ending{m_process.ending(), POLLIN, 0};
        if (poll(&ending, 1, 0) == 0) {
            return false;
        }
        listen();
        m_outcome.status = m_process.reap();
        listen();
        if (!m_said.empty()) {
            takeLine(m_said);
        }
        if (isInterrupted && m_outcome.status != 0) {
            m_outcome.status = EXIT_INTERRUPTED;
            m_outcome.hasChanged = m_outcome.hasChanged || m_isBurning; // a disc is spoiled
        } else if (!m_gone.empty()) {
            m_outcome.status = EXIT_UNFINISHED;
            m_outcome.reason = m_gone;
        }
        leaveGauge();
        m_outcome.seconds = secondsSince(m_start);
        m_outcome.bytesPerSecond = m_gauged > 0 ? static_cast<double>(m_written) / m_gauged : 0;
        if (!m_job.isServer()) {
            m_progress.ended(m_index, resultText(m_outcome, false));
        }
        if (!m_name.empty() && m_isEndShown) {
            m_console.say(m_name + resultText(m_outcome, false));
        }
        if (m_job.ended) {
            m_job.ended(m_outcome);
        }
        return true;
    }

private:
    EventStream& events() const { return m_console.events(); }

    void take(const Event& event) {
        switch (event.kind) {
        case Event::Kind::stage:
            takeStage(event.text);
            break;
        case Event::Kind::expected:
            m_progress.expect(m_index, std::stoull(event.text));
            events().expect(m_job.medium, std::stoull(event.text));
            break;
        case Event::Kind::done:
            takeDone(std::stoull(event.text));
            break;
        case Event::Kind::failure:
            takeFailure(event.text);
            break;
        case Event::Kind::progress:
            m_console.message(VelaCreation::LEVEL_PROGRESS, m_name + event.text);
            break;
        case Event::Kind::changing:
            m_outcome.hasChanged = true;
            break;
        case Event::Kind::burning:
            m_isBurning = true;
            break;
        case Event::Kind::finding:
            takeFinding(event.text);
            break;
        case Event::Kind::note:
            m_console.say("Note: " + m_name + event.text);
            events().note(m_job.medium, event.text);
            break;
        case Event::Kind::addition:
            m_outcome.addition = event.text;
            break;
        case Event::Kind::sum: {
            const auto blank = event.text.find(' ');
            m_outcome.sums[event.text.substr(blank + 1)] = event.text.substr(0, blank);
            break;
        }
        case Event::Kind::reason:
            m_outcome.reason = event.text;
            break;
        case Event::Kind::right:
            m_outcome.wasRight = true;
            break;
        case Event::Kind::end:
            m_hasEvents = false;
            break;
        }
    }

    void takeStage(const std::string& text) {
        leaveGauge();
        const auto found = m_job.gauges.find(text);
        m_gauge = found != m_job.gauges.end() ? &found->second : nullptr;
        if (m_gauge != nullptr) {
            shownByGauge();
        }
        m_console.log(VelaCreation::LEVEL_PROGRESS, m_name + text);
        const auto expected = m_gauge != nullptr ? m_gauge->expected : 0;
        m_progress.stage(m_index, text, expected);
        events().stage(m_job.medium, text, expected);
    }

    void takeDone(std::uint64_t bytes) {
        m_progress.done(m_index, bytes);
        events().done(m_job.medium, bytes);
    }

    void takeLine(const std::string& line) {
        if (m_job.isServer()) {
            m_job.takeLine(line, m_progress);
        } else {
            takeFailure(line);
        }
    }

    void takeFailure(const std::string& text) {
        m_outcome.failures.push_back(text);
        m_console.message(VelaCreation::LEVEL_FAILURE, m_name + text);
    }

    void takeFinding(const std::string& text) {
        if (m_job.kind != JobKind::making) {
            m_console.showFinding(m_name + text);
            return;
        }
        if (!std::exchange(m_hasFinding, true)) {
            m_outcome.failures.clear(); // what tools have said does not explain it
        }
        takeFailure(text);
    }

    std::uint64_t shownByGauge() {
        const auto shown = m_gauge->done(m_process.number());
        m_shownFirst = m_shownFirst.value_or(shown);
        return std::max(shown, *m_shownFirst) - *m_shownFirst;
    }

    /// Adds up the gauge's count and time, for the rate.
    void leaveGauge() {
        if (m_gauge != nullptr) {
            m_written = std::max(m_written, shownByGauge());
            m_gauged += secondsSince(m_stageStart);
        }
        m_gauge = nullptr;
        m_stageStart = Clock::now();
    }

    const MediumJob m_job;
    std::size_t m_index;
    std::string m_name;
    bool m_isEndShown;
    Outcome m_outcome;
    Console& m_console;
    Progress& m_progress;
    ChildProcess m_process;
    Clock::time_point m_start = Clock::now();
    Clock::time_point m_nextCheck;
    Clock::time_point m_nextLook;
    Clock::time_point m_stageStart = Clock::now();
    const Gauge* m_gauge = nullptr;
    std::optional<std::uint64_t> m_shownFirst;
    std::uint64_t m_written = 0; ///< counted by gauges
    double m_gauged = 0;         ///< seconds in them
    std::string m_said;
    std::string m_gone; ///< what the job has lost
    bool m_hasEvents = true;
    bool m_hasOutput = true;
    bool m_isBurning = false;
    bool m_hasFinding = false;
};

/// Jobs that are known from the start.
class FixedJobs : public JobSource {
public:
    explicit FixedJobs(const std::vector<MediumJob>& jobs) : m_jobs(jobs) {
        std::transform(jobs.begin(), jobs.end(), std::back_inserter(m_outcomes), notRun);
    }

    std::vector<std::string> media() const override {
        std::vector<std::string> media;
        for (const auto& job : m_jobs) {
            if (!job.isServer()) {
                media.push_back(m_jobs.size() == 1 ? "" : job.medium);
            }
        }
        return media;
    }

    bool hasMore() const override { return m_next < m_jobs.size(); }

    std::optional<NextJob> next() override {
        if (!hasMore()) {
            return std::nullopt;
        }
        const auto medium = m_next++;
        return NextJob{medium, m_jobs[medium]};
    }

    void ended(std::size_t medium, const Outcome& outcome) override { m_outcomes[medium] = outcome; }

    const std::vector<Outcome>& outcomes() const { return m_outcomes; }

private:
    const std::vector<MediumJob>& m_jobs;
    std::vector<Outcome> m_outcomes;
    std::size_t m_next = 0;
};

/// All jobs of one call.
class Supervision {
public:
    Supervision(JobSource& source, bool isAlone, std::size_t atOnce, const HeldSignals& signals,
                Console& console)
        : m_source(source), m_isAlone(isAlone), m_atOnce(atOnce), m_signals(signals), m_console(console),
          m_progress(console.beginProgress(source.media())),
          m_isRedrawn((m_progress.isLive() || console.events().isOpen()) && !source.media().empty()) {}

    void run() {
        m_source.begin(m_progress);
        while (startMore(), !m_running.empty() || (m_source.hasMore() && !m_killTime)) {
            wait();
            m_console.events().tellLost();
            for (auto& job : m_running) {
                job.listen();
            }
            if (const int number = m_signals.take(); number != 0) {
                interrupt(number);
            }
            if (m_killTime && Clock::now() >= *m_killTime) {
                signalAll(SIGKILL);
            }
            m_running.remove_if([&](RunningJob& job) {
                const bool hasEnded = job.concludeIfEnded(m_killTime.has_value());
                if (hasEnded) {
                    m_source.ended(job.medium(), job.outcome());
                }
                return hasEnded;
            });
            for (auto& job : m_running) {
                job.checkWhatItNeeds();
            }
            m_source.look();
            if (m_isRedrawn && Clock::now() - m_drawn >= REDRAWN_EVERY) {
                redraw();
            }
        }
        m_console.endProgress();
    }

private:
    void startMore() {
        while (!m_killTime && m_running.size() < m_atOnce) {
            auto next = m_source.next();
            if (!next) {
                return;
            }
            auto outcome = notRun(next->job);
            const auto medium = next->medium;
            try {
                m_running.emplace_back(std::move(*next), m_isAlone, m_source.leavesEndsToSupervisor(),
                                       m_console, m_progress);
            } catch (const Failure& failure) { // other jobs go on
                outcome.status = EXIT_UNFINISHED;
                outcome.reason = failure.what();
                m_source.ended(medium, outcome);
            }
        }
    }

    void wait() const {
        std::vector<pollfd> sources = {{m_signals.descriptor().number(), POLLIN, 0}};
        for (const auto& job : m_running) {
            for (const int descriptor : job.sources()) {
                sources.push_back({descriptor, POLLIN, 0});
            }
        }
        const bool comeMore = m_source.news() >= 0;
        if (comeMore) {
            sources.push_back({m_source.news(), POLLIN, 0});
        }
        const auto longest = m_isRedrawn || m_killTime || comeMore ? REDRAWN_EVERY : CHECKED_EVERY;
        poll(sources.data(), sources.size(), static_cast<int>(longest.count()));
    }

    void interrupt(int number) {
        if (number == SIGINT && m_source.close()) {
            return;
        }
        const bool isBurning =
            std::any_of(m_running.begin(), m_running.end(), [](const auto& job) { return job.isBurning(); });
        if (isBurning && number == SIGINT && !m_hasWarned) {
            m_hasWarned = true;
            m_console.complain("this would spoil the disc; press Ctrl-C once more to end nevertheless");
            return;
        }
        m_console.screen().stopWaiting();
        signalAll(m_killTime ? SIGKILL : SIGTERM);
        m_killTime = m_killTime.value_or(Clock::now() + KILL_GRACE_PERIOD);
        m_source.stop();
    }

    void signalAll(int number) const {
        for (const auto& job : m_running) {
            job.signal(number);
        }
    }

    void redraw() {
        for (auto& job : m_running) {
            job.lookAtGauge();
        }
        m_progress.draw();
        m_drawn = Clock::now();
    }

    JobSource& m_source;
    bool m_isAlone;
    std::size_t m_atOnce;
    const HeldSignals& m_signals;
    Console& m_console;
    Progress& m_progress;
    bool m_isRedrawn;
    std::list<RunningJob> m_running;
    std::optional<Clock::time_point> m_killTime; ///< when jobs that do not end are killed
    bool m_hasWarned = false;
    Clock::time_point m_drawn;
};
} // namespace

std::vector<Outcome> supervise(const std::vector<MediumJob>& jobs, std::size_t atOnce,
                               const HeldSignals& signals, Console& console) {
    FixedJobs source(jobs);
    console.watchInterrupts(signals.descriptor().number());
    Supervision(source, jobs.size() == 1, atOnce, signals, console).run();
    return source.outcomes();
}

void supervise(JobSource& source, std::size_t atOnce, const HeldSignals& signals, Console& console) {
    console.watchInterrupts(signals.descriptor().number());
    Supervision(source, false, atOnce, signals, console).run();
}

} // namespace velacreate
