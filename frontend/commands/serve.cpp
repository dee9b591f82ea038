#include "commands/commands.h"

#include "display/question.h"
#include "display/summary.h"
#include "job/jobDirectory.h"
#include "medium/identity.h"
#include "medium/jobInputs.h"
#include "network/bootServer.h"
#include "network/serving.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"

#include <optional>

namespace velacreate {
namespace {
void validateOptions(const ServeChoices& choices) {
    requireRoot("machines are served by a program that");
    if (choices.proxy && !choices.range.empty()) {
        throw WrongCommandLine("with --proxy no addresses are handed out; leave out --range");
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
int askToHandOut(const AddressRange& range, const ServeChoices& choices, const HeldSignals& signals,
                 Console& console) {
    console.say("Every machine on " + choices.interface + ", network " + range.network.text() +
                ", that asks for an address will get one of " + range.text() + ".");
    console.say("Where a DHCP server is at work already, this disturbs everyone; --proxy does not.");
    return choices.yes ? 0 : askForYes(signals, "addresses be handed out", "nothing was served", console);
}

void announce(const NetbootDirectory& directory, const NetworkPort& port,
              const std::optional<AddressRange>& range, Console& console) {
    for (const auto& name : directory.missing()) {
        console.note("the network-boot directory lacks the boot file " + quote(name));
    }
    if (!port.isPluggedIn()) {
        console.note("nothing is connected to " + port.name() + " yet");
    }
    console.say("Serving " + directory.text() + " on " + port.name() + ", " +
                (range ? "with addresses from " + range->text() : "beside another DHCP server") +
                "; Ctrl-C ends it");
}
} // namespace

int serve(const ServeChoices& choices, const CallerEnvironment& caller, Console& console) {
    validateOptions(choices);
    requirePrograms({BOOT_SERVER});
    const auto path = absolutePath(choices.directory);
    const NetbootDirectory directory(path);
    const NetworkPort port(choices.interface);
    const auto range = rangeFor(choices, port);
    port.requireUnserved(choices.proxy);
    const auto scratch = scratchDirectory("", caller).path;
    openLog(console, choices.show, path);
    const HeldSignals signals;
    console.watchInterrupts(signals.descriptor().number());
    if (range && askToHandOut(*range, choices, signals, console) != 0) {
        console.complain("interrupted; nothing was served");
        return EXIT_INTERRUPTED;
    }
    console.events().begin({identityOf(directory.text(), "")});
    announce(directory, port, range, console);
    Outcome outcome = {0, "", {}, false, 0, 0, JobKind::serving};
    if (const auto problem = serveMachines(directory, scratch, port, range, signals, console)) {
        outcome.status = EXIT_UNFINISHED;
        outcome.reason = *problem;
        console.complain(directory.text() + " is not served any more: " + *problem);
    }
    console.events().endMedium(directory.text(), resultForPrograms(outcome));
    return outcome.status;
}

} // namespace velacreate
