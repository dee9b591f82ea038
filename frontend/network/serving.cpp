#include "network/serving.h"

#include "job/supervisor.h"
#include "network/bootServer.h"
#include "network/httpServer.h"
#include "network/imageReceipts.h"
#include "network/machines.h"
#include "network/neighbours.h"
#include "support/exitStatus.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <utility>

namespace velacreate {
namespace {
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds LOOKED_EVERY(1000);
constexpr std::size_t MOST_TOLD = 100; ///< machines at the end

ServedSizes sizesOf(const BootService& service) {
    ServedSizes sizes;
    sizes.isProxy = service.isProxy();
    sizes.image = service.image != nullptr ? service.image->size() : 0;
    for (const auto& architecture : CLIENT_ARCHITECTURES) {
        sizes.withoutOffer.insert(architecture.number);
    }
    for (const auto& offer : service.offers) {
        sizes.withoutOffer.erase(offer.architecture.number);
    }
    if (service.directory != nullptr) {
        sizes.archive = service.directory->sizeOf(VelaCreation::NETBOOT_ARCHIVE);
        for (const auto* name : VelaCreation::NETBOOT_FILES) {
            sizes.largestLooseFile = std::max(sizes.largestLooseFile, service.directory->sizeOf(name));
        }
    }
    return sizes;
}

std::string timeOfDay() {
    const auto time = localTimeText();
    return time.substr(time.find(' ') + 1);
}

/// What the servers have told of machines, on the screen.
class ShownMachines {
public:
    ShownMachines(const BootService& service, const MachineNames& names, Console& console)
        : m_console(console), m_machines(sizesOf(service), names, [&service](Address address) {
              return hardwareAddressOf(address, service.port.name());
          }) {}

    void begin(Progress& progress) { m_progress = &progress; }

    /// @return the address that is another machine's from now on, if any
    std::optional<Address> take(const std::string& line) {
        show(m_machines.take(line, Clock::now()));
        return m_machines.takeReassigned();
    }
    void take(const ImageDelivery::News& news) { show(m_machines.take(news, timeOfDay(), Clock::now())); }

    /// Draws the table, a few times a second at most.
    void look() {
        const auto now = Clock::now();
        if (now < m_nextLook) {
            return;
        }
        m_nextLook = now + LOOKED_EVERY;
        for (const auto& news : m_machines.takeStopped(now)) {
            show(news);
        }
        if (m_progress->isLive()) {
            for (std::size_t machine = 0; machine < m_machines.count(); ++machine) {
                m_progress->line(machine, m_machines.shortText(machine), m_machines.rank(machine));
            }
            m_progress->footer(m_machines.total() + "; Ctrl-C ends it");
        }
    }

    void conclude() const {
        std::size_t told = 0;
        const bool areAllTold = m_machines.count() <= MOST_TOLD;
        for (std::size_t machine = 0; machine < m_machines.count(); ++machine) {
            if (areAllTold || (!m_machines.hadItAll(machine) && ++told <= MOST_TOLD)) {
                m_console.say(m_machines.text(machine));
            }
        }
        m_console.say(
            (told > MOST_TOLD ? std::to_string(told - MOST_TOLD) + " more did not have it all; " : "") +
            m_machines.total());
    }

private:
    void show(const std::optional<Machines::News>& news) {
        if (!news) {
            return;
        }
        m_console.events().note("", news->text);
        if (m_progress->isLive()) {
            m_console.log(VelaCreation::LEVEL_PROGRESS, news->text);
        } else {
            m_console.say(news->text);
        }
    }

    Console& m_console;
    Machines m_machines;
    Progress* m_progress = nullptr;
    Clock::time_point m_nextLook;
};

/// The servers of one call. The boot server is started when the HTTP server is ready, so that no machine is
/// told to ask it before.
class Servers : public JobSource {
public:
    Servers(const BootService& service, const Descriptor& scratch, const MachineNames& names,
            Console& console)
        : m_service(service), m_scratch(scratch), m_console(console), m_machines(service, names, console),
          m_isHttpReady(service.image == nullptr) {
        if (service.image != nullptr) {
            m_receipts.emplace(service.address(), service.image->size());
        }
    }

    std::vector<std::string> media() const override { return {}; }
    bool leavesEndsToSupervisor() const override { return false; }
    void begin(Progress& progress) override { m_machines.begin(progress); }
    bool hasMore() const override { return m_reason.empty() && !m_hasBootServer; }
    int news() const override { return m_receipts ? m_receipts->news() : -1; }

    void look() override {
        takeReceipts(false);
        m_machines.look();
    }

    std::optional<NextJob> next() override {
        if (!m_reason.empty() || m_hasBootServer) {
            return std::nullopt;
        }
        if (m_service.image != nullptr && !std::exchange(m_hasHttpServer, true)) {
            return NextJob{HTTP, httpJob()};
        }
        if (!m_isHttpReady) {
            return std::nullopt;
        }
        m_hasBootServer = true;
        return NextJob{BOOT, bootJob()};
    }

    void ended(std::size_t server, const Outcome& outcome) override {
        if (server == HTTP) {
            takeReceipts(true); // it has written the rest of its log
        }
        if (m_reason.empty()) {
            m_reason = outcome.reason.empty() ? m_lastMessages.at(server) : outcome.reason;
        }
    }

    /// A server that has ended by itself stays the reason.
    void stop() override { m_wasInterrupted = m_wasInterrupted || m_reason.empty(); }

    /// @return nothing after an interrupt
    std::optional<std::string> conclude() const {
        m_machines.conclude();
        return m_wasInterrupted ? std::nullopt : std::optional(m_reason);
    }

private:
    enum Server : std::size_t { BOOT, HTTP };

    MediumJob bootJob() {
        MediumJob job{m_service.media().front(), m_scratch.number(),
                      [this](Reporter& /*reporter*/) -> int { becomeBootServer(m_service); }};
        job.takeLine = [this](const std::string& line, Progress& /*progress*/) {
            // A line without a date is a failure.
            tell(line, BOOT, line.rfind(std::string(BOOT_SERVER) + ": ", 0) == 0);
            const auto reassigned = m_machines.take(line);
            if (reassigned && m_receipts) {
                m_receipts->forget(*reassigned);
            }
        };
        job.whatIsGone = [this] {
            const auto* const directory = m_service.directory;
            const auto change = m_service.port.change();
            return !m_reason.empty()      ? m_reason
                   : !change.empty()      ? change
                   : directory != nullptr ? directory->change()
                                          : "";
        };
        return job;
    }

    MediumJob httpJob() {
        MediumJob job{m_service.image->text(), m_scratch.number(), [this](Reporter& /*reporter*/) -> int {
                          becomeHttpServer(m_service, m_receipts->log());
                      }};
        job.takeLine = [this](const std::string& line, Progress& /*progress*/) {
            m_isHttpReady = m_isHttpReady || tellsOfStart(line);
            tell(line, HTTP, !m_isHttpReady);
        };
        job.whatIsGone = [this] {
            const auto change = m_service.image->change();
            return !m_reason.empty() ? m_reason
                   : change.empty()  ? ""
                                     : m_service.image->text() + ": " + change;
        };
        return job;
    }

    void takeReceipts(bool areLast) {
        if (m_receipts) {
            m_receipts->look(areLast, [this](const ImageDelivery::News& news) { m_machines.take(news); });
        }
    }

    void tell(const std::string& line, Server server, bool isFailure) {
        if (line.empty()) {
            return;
        }
        if (isFailure) {
            m_lastMessages.at(server) = line;
        }
        m_console.message(VelaCreation::LEVEL_PROGRESS, line);
    }

    const BootService& m_service;
    const Descriptor& m_scratch;
    Console& m_console;
    ShownMachines m_machines;
    std::optional<ImageReceipts> m_receipts;
    bool m_isHttpReady;
    bool m_hasHttpServer = false;
    bool m_hasBootServer = false;
    bool m_wasInterrupted = false;
    std::array<std::string, 2> m_lastMessages = {BOOT_SERVER + std::string(" ended"),
                                                 HTTP_SERVER + std::string(" ended")};
    std::string m_reason; ///< why it ends
};
} // namespace

std::optional<std::string> serveMachines(const BootService& service, const Descriptor& scratch,
                                         const MachineNames& names, const HeldSignals& signals,
                                         Console& console) {
    constexpr std::size_t BOTH = 2;
    Servers servers(service, scratch, names, console);
    supervise(servers, BOTH, signals, console);
    return servers.conclude();
}

} // namespace velacreate
