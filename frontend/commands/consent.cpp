#include "commands/consent.h"

#include "disks/disks.h"
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

std::string lineFor(const Disk& disk) {
    const auto about = describe(disk);
    std::string line = disk.node() + ": " + about.vendor + " " + about.model;
    line += about.serial.empty() ? "" : ", serial number " + about.serial;
    line += ", " + sizeText(about.size);
    line += about.port.empty() ? "" : ", " + about.port;
    const auto places = placesText(mountedPlaces(disk));
    return printable(line + (places.empty() ? ", not mounted" : ", mounted on " + places));
}

const char* formattingText(const std::string& format) {
    return format == "always" ? "formatted and " : format == "auto" ? "formatted if need be, and " : "";
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

int askForConsent(const KeyHold& key, const UsbChoices& choices, const HeldSignals& signals) {
    std::cout << lineFor(key.disk()) << std::endl;
    if (choices.yes) {
        return 0;
    }
    if (isatty(STDIN_FILENO) == 0) {
        throw Refusal("without a terminal, only --yes lets the key be changed");
    }
    std::cout << "Its fourth partition will be " << formattingText(choices.format)
              << "filled. Type yes to go on: " << std::flush;
    const auto answer = readAnswer(signals);
    if (!answer) {
        std::cout << std::endl;
        return EXIT_INTERRUPTED;
    }
    if (*answer != "yes") {
        throw Refusal("the key was left as it is");
    }
    return 0;
}

} // namespace velacreate
