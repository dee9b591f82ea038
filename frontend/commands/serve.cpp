#include "commands/commands.h"

#include "display/question.h"
#include "display/summary.h"
#include "job/jobDirectory.h"
#include "job/output.h"
#include "medium/identity.h"
#include "medium/jobInputs.h"
#include "network/bootServer.h"
#include "network/httpServer.h"
#include "network/printedConfiguration.h"
#include "network/serving.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/programs.h"
#include "support/texts.h"

#include <mediaRules.h>

#include <optional>

namespace velacreate {
namespace {
void validateOptions(const ServeChoices& choices) {
    refuseIf<WrongCommandLine>(choices.directory.empty() && choices.image.empty(),
                               "serve takes a network-boot directory, or an image with --image, or both");
    requireRoot("machines are served by a program that");
    refuseIf<WrongCommandLine>(choices.proxy && !choices.range.empty(),
                               "with --proxy no addresses are handed out; leave out --range");
    refuseIf<WrongCommandLine>(!choices.printed.empty() && !choices.names.empty(),
                               "with --print-config no machines are shown; leave out --names");
}

void requireServers(const ServeChoices& choices) {
    requirePrograms({BOOT_SERVER});
    if (!choices.image.empty()) {
        requirePrograms({HTTP_SERVER});
    }
}

/// What is served, and where.
struct Served {
    explicit Served(const ServeChoices& choices) : port(choices.interface) {
        if (!choices.directory.empty()) {
            directory.emplace(absolutePath(choices.directory));
        }
        if (!choices.image.empty()) {
            image.emplace(absolutePath(choices.image));
        }
        if (!choices.names.empty()) {
            names = readMachineNames(choices.names);
        }
        if (!choices.proxy) {
            range = choices.range.empty() ? upperHalf(port.networks().front())
                                          : readRange(choices.range, port.networks());
        }
    }

    void requireUnserved() const {
        port.requireUnserved(!range, directory.has_value());
        if (image) {
            NetworkPort::requireUnserved(range ? range->network.own : port.networks().front().own, HTTP_PORT);
        }
    }

    NetworkPort port;
    std::optional<NetbootDirectory> directory;
    std::optional<ServedImage> image;
    MachineNames names;
    std::optional<AddressRange> range;
};

/// Which machines will not start, or only in some cases.
std::vector<std::string> limitsOf(const BootService& service) {
    auto limits = service.loaders.notes;
    const auto missing =
        service.directory != nullptr ? service.directory->missing() : std::vector<std::string>();
    if (!missing.empty()) {
        limits.push_back("the network-boot directory lacks " + namesText(missing) +
                         "; make it again with \"velacreate pxe\" if a loader asks for them");
    }
    if (service.isProxy() && service.directory != nullptr) {
        limits.push_back("beside another DHCP server, " + quote(VelaCreation::NETBOOT_LOADER) +
                         " may ask that one for its files: then machines with a BIOS stop after it");
    }
    if (service.image != nullptr) {
        limits.push_back("machines that fetch the image need " + sizeText(service.image->size()) +
                         " of memory for it, and some more");
    }
    return limits;
}

/// @return 0, or EXIT_INTERRUPTED
int askToHandOut(const AddressRange& range, const ServeChoices& choices, const HeldSignals& signals,
                 Console& console) {
    console.say("Every machine on " + choices.interface + ", network " + range.network.text() +
                ", that asks for an address will get one of " + range.text() + ".");
    console.say("Where a DHCP server is at work already, this disturbs everyone; --proxy does not.");
    return choices.yes ? 0 : askForYes(signals, "addresses be handed out", "nothing was served", console);
}

std::string mediaText(const BootService& service) {
    const auto media = service.media();
    return media.front() + (media.size() > 1 ? " and " + media.back() : "");
}

void announce(const BootService& service, Console& console) {
    const auto& port = service.port;
    if (!port.isPluggedIn()) {
        console.note("nothing is connected to " + port.name() + " yet");
    }
    console.say(
        "Serving " + mediaText(service) + " on " + port.name() + ", " +
        (service.isProxy() ? "beside another DHCP server" : "with addresses from " + service.range->text()) +
        "; Ctrl-C ends it");
}

void begin(EventStream& events, const BootService& service) {
    std::vector<MediumIdentity> identities;
    for (const auto& medium : service.media()) {
        identities.push_back(identityOf(medium, ""));
    }
    events.begin(identities);
}

void end(EventStream& events, const BootService& service, const Outcome& outcome) {
    for (const auto& medium : service.media()) {
        events.endMedium(medium, resultForPrograms(outcome));
    }
}

using Limits = std::vector<std::string>;

void begin(EventStream& events, const BootService& service, const Limits& limits) {
    begin(events, service);
    for (const auto& limit : limits) {
        events.note("", limit);
    }
}

int print(const BootService& service, const Limits& limits, const Output& place, const HeldSignals& signals,
          Console& console) {
    begin(console.events(), service, limits);
    const auto outcome = printConfiguration(service, place, signals, console);
    end(console.events(), service, outcome);
    return showResult(console, outcome, "the configuration in " + quote(place.path()),
                      "for " + addressText(service.address()));
}

int serveService(const BootService& service, const Limits& limits, const Served& served,
                 const ServeChoices& choices, const NamedDirectory& scratch, const HeldSignals& signals,
                 Console& console) {
    if (served.range && askToHandOut(*served.range, choices, signals, console) != 0) {
        console.complain("interrupted; nothing was served");
        return EXIT_INTERRUPTED;
    }
    served.requireUnserved(); // the answer may have taken long
    begin(console.events(), service, limits);
    announce(service, console);
    Outcome outcome = {0, "", {}, false, 0, 0, JobKind::serving};
    if (const auto problem = serveMachines(service, scratch.directory, served.names, signals, console)) {
        outcome.status = EXIT_UNFINISHED;
        outcome.reason = *problem;
        console.complain(mediaText(service) + (service.media().size() > 1 ? " are" : " is") +
                         " not served any more: " + *problem);
    }
    end(console.events(), service, outcome);
    return outcome.status;
}
} // namespace

int serve(const ServeChoices& choices, const CallerEnvironment& caller, Console& console) {
    validateOptions(choices);
    std::optional<Output> printed;
    if (choices.printed.empty()) {
        requireServers(choices);
    } else {
        printed.emplace(Output::emptyDirectory(choices.printed));
        requirePrintable(*printed);
    }
    const Served served(choices);
    Descriptor claim; // until the end
    if (!printed) {
        served.requireUnserved();
        claim = served.port.claim();
    }
    const auto scratch = scratchDirectory("", caller);
    requireOthers(choices.show, choices.image.empty() ? "" : absolutePath(choices.image));
    openLog(console, choices.show, choices.directory.empty() ? "" : absolutePath(choices.directory));
    const HeldSignals signals;
    console.watchInterrupts(signals.descriptor().number());
    const auto service =
        bootServiceOf(served.directory ? &*served.directory : nullptr,
                      served.image ? &*served.image : nullptr, served.port, served.range, scratch.directory);
    const auto limits = limitsOf(service);
    for (const auto& limit : limits) {
        console.say("Note: " + limit);
    }
    return printed ? print(service, limits, *printed, signals, console)
                   : serveService(service, limits, served, choices, scratch, signals, console);
}

} // namespace velacreate
