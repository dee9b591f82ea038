#include "commands/commands.h"

#include "display/question.h"
#include "job/childProcess.h"
#include "medium/jobInputs.h"
#include "network/bootServer.h"
#include "network/machines.h"
#include "network/netbootDirectory.h"
#include "network/networkPort.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <optional>

#include <poll.h>
#include <unistd.h>

namespace velacreate {

namespace {

constexpr int LOOKED_EVERY_MS = 1000; // whether all that is served, and on, is still there
constexpr int LEVEL_OF_SERVER = 2;
constexpr std::size_t LONGEST_LINE = 4096;

/// The server as it runs, and what it tells.
class Serving {
public:
    Serving(const NetbootDirectory& package, const NetworkPort& port,
            const std::optional<AddressRange>& range, const HeldSignals& signals, Console& console)
        : m_package(package), m_port(port), m_signals(signals), m_console(console),
          m_progress(console.beginProgress({})),
          m_process(package.directory().number(),
                    [&](Reporter& /*reporter*/) -> int { becomeServer(port, range); }) {}

    /// @return why it ended; nothing when the user wanted it to
    std::optional<std::string> run() {
        std::optional<std::string> problem;
        while (m_signals.take() == 0 && !problem) {
            std::array<pollfd, 3> sources = {{{m_signals.descriptor().number(), POLLIN, 0},
                                              {m_process.ending(), POLLIN, 0},
                                              {m_process.output(), POLLIN, 0}}};
            poll(sources.data(), sources.size(), LOOKED_EVERY_MS);
            listen();
            problem = sources[1].revents != 0 ? lastWords() : whatIsGone();
        }
        if (!problem) {
            m_console.screen().stopWaiting();
        }
        m_process.reap();
        listen();
        m_console.endProgress();
        return problem;
    }

    void conclude() {
        for (std::size_t machine = 0; machine < m_machines.count(); ++machine) {
            m_console.say(m_machines.text(machine));
        }
        m_console.say(m_machines.total());
    }

private:
    void listen() {
        std::array<char, 4096> bytes{};
        for (ssize_t size = 0; (size = read(m_process.output(), bytes.data(), bytes.size())) > 0;) {
            m_said.append(bytes.data(), static_cast<std::size_t>(size));
        }
        for (auto end = m_said.find('\n'); end != std::string::npos; end = m_said.find('\n')) {
            take(m_said.substr(0, end));
            m_said.erase(0, end + 1);
        }
        m_said.resize(std::min(m_said.size(), LONGEST_LINE));
    }

    void take(const std::string& line) {
        if (line.empty()) {
            return;
        }
        if (line.rfind("dnsmasq: ", 0) == 0) { // else it has a date in front, and is no failure
            m_lastWords = line;
        }
        m_console.message(LEVEL_OF_SERVER, line);
        const auto news = m_machines.take(line);
        if (!news) {
            return;
        }
        if (m_progress.isLive()) {
            m_console.log(LEVEL_OF_SERVER, news->text);
            m_progress.line(news->machine, m_machines.text(news->machine),
                            !m_machines.isServed(news->machine));
        } else {
            m_console.say(news->text);
        }
    }

    std::optional<std::string> whatIsGone() const {
        if (const auto change = m_port.change(); !change.empty()) {
            return change;
        }
        return m_package.isThere() ? std::nullopt : std::optional<std::string>("its directory was removed");
    }

    std::string lastWords() const {
        if (const auto event = receiveEvent(m_process.events());
            event && event->kind == Event::Kind::reason) {
            return event->text;
        }
        return m_lastWords.empty() ? "dnsmasq ended" : m_lastWords;
    }

    const NetbootDirectory& m_package;
    const NetworkPort& m_port;
    const HeldSignals& m_signals;
    Console& m_console;
    Progress& m_progress;
    ChildProcess m_process;
    Machines m_machines;
    std::string m_said;
    std::string m_lastWords;
};

void validateOptions(const ServeChoices& choices) {
    requireRoot("machines are served by a program that");
    if (choices.proxy && !choices.range.empty()) {
        throw Refusal("with --proxy no addresses are handed out; leave out --range");
    }
}

std::optional<AddressRange> rangeFor(const ServeChoices& choices, const NetworkPort& port) {
    if (choices.proxy) {
        return std::nullopt;
    }
    return choices.range.empty() ? upperHalf(port.networks().front())
                                 : readRange(choices.range, port.networks());
}

/// @return 0, or EXIT_INTERRUPTED
int askToHandOut(const AddressRange& range, const ServeChoices& choices, const HeldSignals& signals) {
    std::cout << "Every machine on " << choices.interface << ", network " << range.network.text()
              << ", that asks for an address will get one of " << range.text()
              << ".\nWhere a DHCP server is at work already, this disturbs everyone; --proxy does not."
              << std::endl;
    return choices.yes ? 0
                       : askForYes(signals, "without a terminal, only --yes lets addresses be handed out",
                                   "nothing was served");
}

void announce(const NetbootDirectory& package, const NetworkPort& port,
              const std::optional<AddressRange>& range, Console& console) {
    for (const auto& name : package.missing()) {
        console.say("Note: the package lacks the boot file " + quote(name));
    }
    if (!port.isPluggedIn()) {
        console.say("Note: nothing is connected to " + port.name() + " yet");
    }
    console.say("Serving " + package.text() + " on " + port.name() + ", " +
                (range ? "with addresses from " + range->text() : "beside another DHCP server") +
                "; Ctrl-C ends it");
}

} // namespace

int serve(const ServeChoices& choices) {
    validateOptions(choices);
    requirePrograms({"dnsmasq"});
    const auto path = absolutePath(choices.directory);
    const NetbootDirectory package(path);
    const NetworkPort port(choices.interface);
    const auto range = rangeFor(choices, port);
    port.requireUnserved(choices.proxy);
    auto console = openConsole(choices.show, path);
    const HeldSignals signals;
    if (range && askToHandOut(*range, choices, signals) != 0) {
        console.complain("interrupted; nothing was served");
        return EXIT_INTERRUPTED;
    }
    announce(package, port, range, console);
    console.watchInterrupts(signals.descriptor().number());
    Serving serving(package, port, range, signals, console);
    const auto problem = serving.run();
    serving.conclude();
    if (problem) {
        console.complain(package.text() + " is not served any more: " + *problem);
        return EXIT_UNFINISHED;
    }
    return 0;
}

} // namespace velacreate
