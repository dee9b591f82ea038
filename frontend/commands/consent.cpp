#include "commands/consent.h"

#include "disks/inventory.h"
#include "display/table.h"
#include "support/exitStatus.h"
#include "support/failure.h"
#include "support/sizeText.h"

#include <array>
#include <iostream>
#include <optional>
#include <string>

#include <poll.h>
#include <unistd.h>

namespace velacreate {

namespace {

std::string tableOf(const std::vector<Key>& keys) {
    Table table({"Key", "Port", "Model", "Serial number", "Size", "Holds", "Mounted on", "Not to be made"});
    for (const auto& key : keys) {
        const auto& about = key.about;
        table.add({key.disk.node(), about.port, about.name(), about.serial, sizeText(about.size),
                   contentOf(key.disk), placesText(mountedPlaces(key.disk)), key.objection});
    }
    return table.text();
}

std::string consequence(const UsbChoices& choices, bool isOne) {
    if (choices.erase) {
        return isOne ? "Everything on it will be lost." : "Everything on them will be lost.";
    }
    const std::string done = choices.format == "always" ? "formatted and filled."
                             : choices.format == "auto" ? "formatted if need be, and filled."
                                                        : "filled.";
    return (isOne ? "Its fourth partition will be " : "Their fourth partitions will be ") + done;
}

/// @return nothing after an interrupt
std::optional<std::string> readAnswer(const HeldSignals& signals) {
    std::string line;
    for (;;) {
        std::array<pollfd, 2> sources = {
            {{STDIN_FILENO, POLLIN, 0}, {signals.descriptor().number(), POLLIN, 0}}};
        poll(sources.data(), sources.size(), -1);
        if (signals.take() != 0) {
            return std::nullopt;
        }
        char character = '\n';
        if (sources[0].revents != 0 && (read(STDIN_FILENO, &character, 1) <= 0 || character == '\n')) {
            return line;
        }
        line += sources[0].revents != 0 ? std::string(1, character) : "";
    }
}

} // namespace

int askForYes(const HeldSignals& signals, const std::string& unasked, const std::string& refused) {
    if (isatty(STDIN_FILENO) == 0) {
        throw Refusal(unasked);
    }
    std::cout << "Type yes to go on: " << std::flush;
    const auto answer = readAnswer(signals);
    if (!answer) {
        std::cout << std::endl;
        return EXIT_INTERRUPTED;
    }
    if (*answer != "yes") {
        throw Refusal(refused);
    }
    return 0;
}

int askForConsent(const std::vector<Key>& keys, const UsbChoices& choices, const HeldSignals& signals) {
    const bool isOne = keys.size() == 1;
    std::cout << tableOf(keys) << consequence(choices, isOne) << std::endl;
    if (choices.yes) {
        return 0;
    }
    return askForYes(signals, "without a terminal, only --yes lets a key be changed",
                     isOne ? "the key was left as it is" : "the keys were left as they are");
}

} // namespace velacreate
