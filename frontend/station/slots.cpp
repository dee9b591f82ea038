#include "station/slots.h"

#include "station/ports.h"
#include "support/descriptor.h"
#include "support/failure.h"
#include "support/utf8.h"

#include <algorithm>
#include <sstream>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_NAME = 16;
constexpr std::uint64_t LARGEST_FILE = 1U << 20U;
constexpr const char* EXAMPLE = "\"1 = usb 3-1.2 @ pci0000:00/0000:00:14.0\"";
const std::string BLANKS = " \t\r";

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(BLANKS);
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(BLANKS) + 1 - first);
}

/// @return the text before a character, and what is behind it
std::pair<std::string, std::string> split(const std::string& text, char at) {
    const auto end = text.find(at);
    return {trimmed(text.substr(0, end)), end == std::string::npos ? "" : trimmed(text.substr(end + 1))};
}

void requireName(const std::string& name) {
    const Utf8Locale locale;
    const auto characters = decoded(name);
    refuseIf(!characters || characters->empty() || characters->size() > LONGEST_NAME ||
                 printable(name) != name || name.find_first_of("=#,") != std::string::npos,
             quote(name) + " is no name of a slot; it has 1 to 16 printable characters without =, # and ,");
}

/// @param text  such as "usb 3-1.2"
std::string portIn(const std::string& text) {
    const auto [kind, port] = split(text, ' ');
    refuseIf(kind != "usb" || !isPortName(port), quote(text) + " is no port; a line is such as " + EXAMPLE);
    return port;
}

void requireFitting(const std::string& port, const std::string& controller) {
    const auto found = controllerOf(port);
    refuseIf(controller.empty(), "the controller is missing behind " + portText(port) +
                                     (found.empty() ? std::string("; a line is such as ") + EXAMPLE
                                                    : "; it is now \"@ " + found + "\""));
    refuseIf(found.empty() || found != controller || !isOnMachine(port),
             portText(port) + " is not at the controller " + quote(controller) +
                 " on this machine; learn the slots again");
}

/// A controller belongs to all ports before it that have none.
Slot slotIn(const std::string& line) {
    refuseIf(line.find('=') == std::string::npos, quote(line) + " is no slot; a line is such as " + EXAMPLE);
    auto [name, rest] = split(line, '=');
    Slot slot{name, {}};
    requireName(slot.name);
    std::vector<std::string> controllers;
    for (auto more = rest + ","; !more.empty();) {
        const auto [first, others] = split(more, ',');
        const auto [port, controller] = split(first, '@');
        slot.ports.push_back(portIn(port));
        controllers.push_back(controller);
        more = others;
    }
    for (std::size_t at = slot.ports.size(); at-- > 0;) {
        if (controllers[at].empty() && at + 1 < controllers.size()) {
            controllers[at] = controllers[at + 1];
        }
        requireFitting(slot.ports[at], controllers[at]);
    }
    return slot;
}

std::string contentOf(const std::string& path) {
    const auto name = "the slots file " + quote(path);
    const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    check(file.isOpen()).orRefuse(name);
    refuseOtherThanFile(file, name);
    const auto size = sizeOf(file);
    refuseIf(size > LARGEST_FILE, name + " is too large");
    std::string text(size, '\0');
    check(readAt(file.number(), text.data(), size, 0) == static_cast<ssize_t>(size)).orRefuse(name);
    return text;
}
} // namespace

std::string portsText(const Slot& slot) {
    std::string text;
    for (const auto& port : slot.ports) {
        text += (text.empty() ? "" : ", ") + portText(port);
    }
    return text;
}

std::string lineOf(const Slot& slot) {
    return slot.name + " = " + portsText(slot) + " @ " + controllerOf(slot.ports.front());
}

Slots::Slots(const std::string& path) {
    std::istringstream lines(contentOf(path));
    std::string line;
    for (std::size_t number = 1; std::getline(lines, line); ++number) {
        line = split(line, '#').first;
        if (line.empty()) {
            continue;
        }
        try {
            add(slotIn(line));
        } catch (const Refusal& refusal) {
            throw Refusal("line " + std::to_string(number) + " of the slots file " + quote(path) + ": " +
                          refusal.what());
        }
    }
    refuseIf(m_slots.empty(), "the slots file " + quote(path) + " names no slot; --learn writes a new one");
}

void Slots::add(const Slot& slot) {
    for (const auto& other : m_slots) {
        refuseIf(other.name == slot.name, "the slot " + quote(slot.name) + " is there twice");
    }
    auto added = slot;
    added.ports.clear();
    for (const auto& port : slot.ports) {
        const auto user = slotOf(port);
        refuseIf(user.has_value(), portText(port) + " belongs to slot " + (user ? m_slots[*user].name : ""));
        refuseIf(std::count(added.ports.begin(), added.ports.end(), port) != 0,
                 portText(port) + " is there twice");
        added.ports.push_back(port);
    }
    for (const auto& port : added.ports) {
        m_controllers[port] = controllerOf(port);
    }
    m_slots.push_back(added);
}

std::vector<std::string> Slots::names() const {
    std::vector<std::string> names;
    for (const auto& slot : m_slots) {
        names.push_back(slot.name);
    }
    return names;
}

std::optional<std::size_t> Slots::slotNaming(const std::string& port) const {
    for (std::size_t at = 0; at < m_slots.size(); ++at) {
        const auto& ports = m_slots[at].ports;
        if (std::find(ports.begin(), ports.end(), port) != ports.end() &&
            controllerOf(port) == m_controllers.at(port)) {
            return at;
        }
    }
    return std::nullopt;
}

std::optional<std::size_t> Slots::slotOf(const std::string& port) const {
    const auto slot = slotNaming(port);
    return slot ? slot : slotNaming(peerOf(port));
}

} // namespace velacreate
