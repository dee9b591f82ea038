#include "network/serving.h"

#include "job/supervisor.h"
#include "network/bootServer.h"
#include "network/machines.h"
#include "support/exitStatus.h"

#include <mediaRules.h>

namespace velacreate {
namespace {
/// What the server has said so far.
struct ServerLog {
    Console& console;
    Machines machines;
    std::string lastWords = std::string(BOOT_SERVER) + " ended";

    void take(const std::string& line, Progress& progress) {
        if (line.empty()) {
            return;
        }
        if (line.rfind(std::string(BOOT_SERVER) + ": ", 0) == 0) { // a line without a date is a failure
            lastWords = line;
        }
        console.message(VelaCreation::LEVEL_PROGRESS, line);
        const auto news = machines.take(line);
        if (!news) {
            return;
        }
        console.events().note("", news->text);
        if (progress.isLive()) {
            console.log(VelaCreation::LEVEL_PROGRESS, news->text);
            progress.line(news->machine, machines.text(news->machine),
                          machines.isServed(news->machine) ? RANK_IDLE : RANK_AT_WORK);
            progress.draw();
        } else {
            console.say(news->text);
        }
    }

    void conclude() const {
        for (std::size_t machine = 0; machine < machines.count(); ++machine) {
            console.say(machines.text(machine));
        }
        console.say(machines.total());
    }
};
} // namespace

std::optional<std::string> serveMachines(const NetbootDirectory& directory, const std::string& scratch,
                                         const NetworkPort& port, const std::optional<AddressRange>& range,
                                         const HeldSignals& signals, Console& console) {
    ServerLog log{console, {}};
    MediumJob server{directory.text(), directory.directory().number(),
                     [&](Reporter& /*reporter*/) -> int { becomeServer(directory, scratch, port, range); }};
    server.takeLine = [&](const std::string& line, Progress& progress) { log.take(line, progress); };
    server.whatIsGone = [&] {
        const auto change = port.change();
        return change.empty() ? directory.change() : change;
    };
    const auto outcome = supervise({server}, 1, signals, console).front();
    log.conclude();
    if (outcome.status == EXIT_INTERRUPTED) {
        return std::nullopt;
    }
    return outcome.reason.empty() ? log.lastWords : outcome.reason;
}

} // namespace velacreate
