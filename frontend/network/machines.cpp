#include "network/machines.h"

#include "network/addresses.h"
#include "network/bootServer.h"
#include "network/serverRoot.h"

#include <mediaRules.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_LINE = 900; ///< the server cuts longer lines, whose end a machine may choose

std::vector<std::string> wordsOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

bool isHardwareAddress(const std::string& word) {
    return word.find(':') != std::string::npos &&
           word.find_first_not_of("0123456789abcdef:-") == std::string::npos;
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// The same file may be requested by different paths.
std::string plainName(const std::string& name) {
    return std::filesystem::path(name).relative_path().lexically_normal().string();
}
} // namespace

std::optional<Machines::News> Machines::take(const std::string& line) {
    if (line.size() > LONGEST_LINE) {
        return std::nullopt;
    }
    std::istringstream stream(line); // "Nov 25 09:28:35 dnsmasq-dhcp[11]: DHCPACK(br0) ..."
    std::string month;
    std::string day;
    std::string time;
    std::string source;
    std::string text;
    stream >> month >> day >> time >> source;
    std::getline(stream >> std::ws, text);
    if (startsWith(source, BOOT_SERVER + std::string("-dhcp["))) {
        return takeLease(wordsOf(text));
    }
    return startsWith(source, BOOT_SERVER + std::string("-tftp[")) ? takeFile(text, time) : std::nullopt;
}

std::optional<Machines::News> Machines::takeLease(const std::vector<std::string>& words) {
    const std::string kind = words.empty() ? "" : words.front().substr(0, words.front().find('('));
    const bool hasAddress = words.size() > 2 && readAddress(words[1]) && isHardwareAddress(words[2]);
    const bool isBare = words.size() > 1 && isHardwareAddress(words[1]);
    const bool isGiven = hasAddress && (kind == "DHCPACK" || kind == "BOOTP" || kind == "PXE");
    const bool isNoneLeft = kind == "DHCPDISCOVER" && words.size() > 4 && words[words.size() - 3] == "no" &&
                            words[words.size() - 2] == "address" && words.back() == "available";
    if (!isGiven && !(isNoneLeft && (hasAddress || isBare)) && !(kind == "PXE" && isBare)) {
        return std::nullopt;
    }
    const auto known = count();
    const auto index = byHardware(words[hasAddress ? 2 : 1]);
    if (!index) {
        return std::nullopt;
    }
    const auto before = *index < known ? text(*index) : "";
    auto& machine = m_machines[*index];
    if (isGiven) {
        machine.address = words[1];
        m_byAddress[machine.address] = *index;
    }
    machine.isTurnedAway = isNoneLeft;
    return before == text(*index) ? std::nullopt : std::optional(News{*index, text(*index)});
}

std::optional<Machines::News> Machines::takeFile(const std::string& text, const std::string& time) {
    const std::string start = std::string("sent ") + SERVED_PLACE + "/";
    const auto to = text.rfind(" to ");
    if (!startsWith(text, start) || to == std::string::npos || to < start.size()) {
        return std::nullopt;
    }
    const auto index = byAddress(text.substr(to + 4));
    if (!index) {
        return std::nullopt;
    }
    auto name = plainName(text.substr(start.size(), to - start.size()));
    const auto before = this->text(*index);
    auto& machine = m_machines[*index];
    if (std::find(machine.files.begin(), machine.files.end(), name) == machine.files.end()) {
        machine.files.push_back(name);
    }
    if (name == VelaCreation::NETBOOT_ARCHIVE) {
        machine.archived = time;
        name += " at " + time;
    }
    return before == this->text(*index) ? std::nullopt : std::optional(News{*index, nameOf(*index) + name});
}

std::optional<std::size_t> Machines::byHardware(const std::string& hardware) {
    const auto found = m_byHardware.find(hardware);
    if (found != m_byHardware.end()) {
        return found->second;
    }
    const auto index = add({hardware, "", {}, "", false});
    if (index) {
        m_byHardware[hardware] = *index;
    }
    return index;
}

std::optional<std::size_t> Machines::byAddress(const std::string& address) {
    const auto found = m_byAddress.find(address);
    if (found != m_byAddress.end()) {
        return found->second;
    }
    const auto index = readAddress(address) ? add({"", address, {}, "", false}) : std::nullopt;
    if (index) {
        m_byAddress[address] = *index;
    }
    return index;
}

std::optional<std::size_t> Machines::add(const Machine& machine) {
    if (m_machines.size() == MOST_MACHINES) {
        return std::nullopt;
    }
    m_machines.push_back(machine);
    return m_machines.size() - 1;
}

std::string Machines::nameOf(std::size_t machine) const {
    const auto& about = m_machines.at(machine);
    return (about.hardware.empty() ? "unknown" : about.hardware) + "  " +
           (about.address.empty() ? "" : about.address + "  ");
}

std::string Machines::text(std::size_t machine) const {
    const auto& about = m_machines.at(machine);
    std::string files;
    for (const auto& name : about.files) {
        files += (files.empty() ? "" : ", ") + name +
                 (name == VelaCreation::NETBOOT_ARCHIVE ? " at " + about.archived : "");
    }
    if (about.isTurnedAway) {
        return nameOf(machine) + "no address is left for it";
    }
    return nameOf(machine) + (files.empty() ? "has fetched nothing yet" : files);
}

std::string Machines::total() const {
    const auto served = std::count_if(m_machines.begin(), m_machines.end(),
                                      [](const Machine& machine) { return !machine.files.empty(); });
    const auto archived = std::count_if(m_machines.begin(), m_machines.end(),
                                        [](const Machine& machine) { return !machine.archived.empty(); });
    return std::to_string(served) + (served == 1 ? " machine was served, " : " machines were served, ") +
           std::to_string(archived) + " had the archive";
}

} // namespace velacreate
