#include "network/machines.h"

#include "display/progress.h"
#include "network/addresses.h"
#include "network/bootServer.h"

#include <mediaRules.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <utility>

namespace velacreate {
namespace {
constexpr std::size_t LONGEST_LINE = 900; ///< the server cuts longer lines, whose end a machine may choose
constexpr unsigned WHOLE = 100;           ///< percent

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

bool isNumber(const std::string& word) {
    return !word.empty() && word.find_first_not_of("0123456789") == std::string::npos;
}

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// The same file may be requested by different paths.
std::string plainName(const std::string& name) {
    return std::filesystem::path(name).relative_path().lexically_normal().string();
}
} // namespace

Machines::Machines(const ServedSizes& served, MachineNames names, FindHardware findHardware)
    : m_served(served), m_names(std::move(names)), m_findHardware(std::move(findHardware)) {}

std::optional<Machines::News> Machines::take(const std::string& line, Time now) {
    if (line.size() > LONGEST_LINE) {
        return std::nullopt;
    }
    std::istringstream stream(line); // "Nov 25 09:28:35 dnsmasq-dhcp[11]: 2718 DHCPACK(br0) ..."
    std::string month;
    std::string day;
    std::string time;
    std::string source;
    std::string text;
    stream >> month >> day >> time >> source;
    std::getline(stream >> std::ws, text);
    if (startsWith(source, BOOT_SERVER + std::string("-dhcp["))) {
        return takeLease(wordsOf(text), now);
    }
    return startsWith(source, BOOT_SERVER + std::string("-tftp[")) ? takeFile(text, time, now) : std::nullopt;
}

std::optional<Machines::News> Machines::takeLease(std::vector<std::string> words, Time now) {
    if (!words.empty() && isNumber(words.front())) {
        // Machines may choose the same number. Each packet begins with a line about the addresses.
        if (words.front() != m_packet.number || (words.size() > 1 && words[1] == "available")) {
            m_packet = {words.front()};
        }
        words.erase(words.begin());
    }
    if (!words.empty() && words.front() == "tags:") {
        return takeTags(words, now);
    }
    const std::string kind = words.empty() ? "" : words.front().substr(0, words.front().find('('));
    const bool hasAddress = words.size() > 2 && readAddress(words[1]) && isHardwareAddress(words[2]);
    const bool isBare = words.size() > 1 && isHardwareAddress(words[1]);
    const bool isGiven = hasAddress && (kind == "DHCPACK" || kind == "BOOTP" || kind == "PXE");
    const bool isOffered = hasAddress && kind == "DHCPOFFER" && m_packet.way != StartWay::unknown;
    const bool isNoneLeft = kind == "DHCPDISCOVER" && words.size() > 4 && words[words.size() - 3] == "no" &&
                            words[words.size() - 2] == "address" && words.back() == "available";
    if (!isGiven && !isOffered && !(isNoneLeft && (hasAddress || isBare)) && !(kind == "PXE" && isBare)) {
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
    m_packet.machine = index;
    if (m_packet.way != StartWay::unknown) {
        machine.way = m_packet.way;
        revive(machine, now);
    }
    return isOffered ? std::nullopt : ifChanged(*index, before); // it has not taken the offer yet
}

/// The tags of a packet are told before the answer to it, or after it.
std::optional<Machines::News> Machines::takeTags(const std::vector<std::string>& words, Time now) {
    for (const auto& word : words) {
        if (const auto way = wayOfTag(word.substr(0, word.find(','))); way != StartWay::unknown) {
            m_packet.way = way;
        }
    }
    if (!m_packet.machine || m_packet.way == StartWay::unknown) {
        return std::nullopt;
    }
    const auto before = text(*m_packet.machine);
    auto& machine = m_machines[*m_packet.machine];
    machine.way = m_packet.way;
    revive(machine, now);
    return ifChanged(*m_packet.machine, before);
}

std::optional<Machines::News> Machines::takeFile(const std::string& text, const std::string& time, Time now) {
    const std::string place = std::string(SERVED_PLACE) + "/";
    const bool hasFailed = startsWith(text, "failed sending " + place);
    const auto start = (hasFailed ? "failed sending " : "sent ") + place;
    const auto to = text.rfind(" to ");
    if (!startsWith(text, start) || to == std::string::npos || to < start.size()) {
        return std::nullopt;
    }
    const auto index = byAddress(text.substr(to + 4));
    if (!index) {
        return std::nullopt;
    }
    const auto name = plainName(text.substr(start.size(), to - start.size()));
    const auto before = this->text(*index);
    auto& machine = m_machines[*index];
    revive(machine, now);
    if (hasFailed) { // a machine that asks only for the size of a file goes on at once
        machine.failedFile = name;
        return std::nullopt;
    }
    if (std::find(machine.files.begin(), machine.files.end(), name) == machine.files.end()) {
        machine.files.push_back(name);
    }
    const bool isLast = name == VelaCreation::NETBOOT_ARCHIVE;
    if (isLast) {
        machine.finished = time;
    }
    return before == this->text(*index)
               ? std::nullopt
               : std::optional(News{*index, nameOf(*index) + name + (isLast ? endingOf(machine) : "")});
}

std::optional<Machines::News> Machines::take(const ImageDelivery::News& news, const std::string& time,
                                             Time now) {
    const auto index = byAddress(addressText(news.machine));
    if (!index) {
        return std::nullopt;
    }
    auto& machine = m_machines[*index];
    const auto before = machine;
    revive(machine, now);
    if (machine.way == StartWay::unknown) {
        machine.way = StartWay::uefiByHttp;
    }
    machine.percent = news.percent;
    if (news.percent == WHOLE && before.percent != WHOLE) {
        machine.finished = time;
    }
    const bool isNew = !before.percent || before.hasStopped || machine.finished != before.finished;
    return isNew ? std::optional(News{*index, text(*index)}) : std::nullopt;
}

std::vector<Machines::News> Machines::takeStopped(Time now) {
    std::vector<News> stopped;
    for (std::size_t index = 0; index < m_machines.size(); ++index) {
        auto& machine = m_machines[index];
        const bool isAtWork = machine.finished.empty() && !machine.hasStopped && !isHopeless(machine);
        const bool hasBegun =
            machine.way != StartWay::unknown || !machine.files.empty() || machine.percent.has_value();
        if (isAtWork && hasBegun && now - machine.lastNews > patienceWith(progressOf(machine), m_served)) {
            machine.hasStopped = true;
            stopped.push_back({index, nameOf(index) + endingOf(machine).substr(2)});
        }
    }
    return stopped;
}

/// A machine that goes on has not stopped.
void Machines::revive(Machine& machine, Time now) const {
    machine.lastNews = now;
    machine.hasStopped = false;
    machine.failedFile.clear();
}

std::optional<Machines::News> Machines::ifChanged(std::size_t machine, const std::string& before) const {
    auto now = text(machine);
    return before == now ? std::nullopt : std::optional(News{machine, std::move(now)});
}

std::optional<std::size_t> Machines::byHardware(const std::string& hardware) {
    const auto found = m_byHardware.find(hardware);
    if (found != m_byHardware.end()) {
        return found->second;
    }
    const auto index = add({hardware});
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
    const auto number = readAddress(address);
    if (!number) {
        return std::nullopt;
    }
    const auto hardware = m_findHardware(*number);
    const auto index = hardware.empty() ? add({""}) : byHardware(hardware);
    if (index) {
        m_machines[*index].address = address;
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
    const auto name = m_names.find(about.hardware);
    const auto way = wayText(about.way);
    return (about.hardware.empty() ? "unknown" : about.hardware) + "  " +
           (name == m_names.end() ? "" : name->second + "  ") +
           (about.address.empty() ? "" : about.address + "  ") + (way.empty() ? "" : way + "  ");
}

BootProgress Machines::progressOf(const Machine& machine) const {
    return {machine.way, machine.files.empty() ? "" : machine.files.back(), machine.failedFile,
            machine.percent};
}

/// @return with ", " before it; empty while the machine is at work
std::string Machines::endingOf(const Machine& machine) const {
    if (!machine.finished.empty()) {
        return ", had it all at " + machine.finished;
    }
    return machine.hasStopped ? ", " + stopText(progressOf(machine), m_served) : "";
}

std::string Machines::text(std::size_t machine) const {
    const auto& about = m_machines.at(machine);
    std::string fetched;
    for (const auto& name : about.files) {
        fetched += ", " + name;
    }
    if (about.percent) {
        fetched += ", " + std::to_string(*about.percent) + "% of the image";
    }
    if (isHopeless(about)) {
        return nameOf(machine) + (about.isTurnedAway ? "no address is left for it"
                                                     : "asks for an image by HTTP; give it one with --image");
    }
    const auto told = fetched + endingOf(about);
    return nameOf(machine) + (told.empty() ? "has fetched nothing yet" : told.substr(2));
}

/// Whether nothing is offered to it.
bool Machines::isHopeless(const Machine& machine) const {
    return machine.isTurnedAway || (machine.way == StartWay::uefiByHttp && m_served.image == 0);
}

std::string Machines::shortText(std::size_t machine) const {
    const auto ending = endingOf(m_machines.at(machine));
    return ending.empty() ? text(machine) : nameOf(machine) + ending.substr(2);
}

unsigned Machines::rank(std::size_t machine) const {
    const auto& about = m_machines.at(machine);
    if (!about.finished.empty()) {
        return RANK_IDLE;
    }
    return about.hasStopped || isHopeless(about) ? RANK_AT_WORK
                                                 : 1 + std::min(about.percent.value_or(0), WHOLE - 2);
}

std::string Machines::total() const {
    const auto countIf = [&](const auto& isCounted) {
        return std::count_if(m_machines.begin(), m_machines.end(), isCounted);
    };
    const auto served =
        countIf([](const Machine& machine) { return !machine.files.empty() || machine.percent.has_value(); });
    const auto finished = countIf([](const Machine& machine) { return !machine.finished.empty(); });
    const auto stopped = countIf([](const Machine& machine) { return machine.hasStopped; });
    return std::to_string(served) + (served == 1 ? " machine was served, " : " machines were served, ") +
           std::to_string(finished) + " had it all" +
           (stopped == 0 ? ""
                         : ", " + std::to_string(stopped) + (stopped == 1 ? " has" : " have") + " stopped");
}

} // namespace velacreate
