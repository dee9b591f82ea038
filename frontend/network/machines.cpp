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

Machines::Machines(ServedSizes served, MachineNames names, FindHardware findHardware)
    : m_served(std::move(served)), m_names(std::move(names)), m_findHardware(std::move(findHardware)) {}

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
    m_packet.isInquiry = kind == "DHCPINFORM" || (m_packet.isInquiry && !m_packet.number.empty());
    const bool isGiven =
        hasAddress && !m_packet.isInquiry && (kind == "DHCPACK" || kind == "BOOTP" || kind == "PXE");
    const bool isOffered = hasAddress && kind == "DHCPOFFER" && m_packet.architecture != nullptr;
    const bool isNoneLeft = kind == "DHCPDISCOVER" && words.size() > 4 && words[words.size() - 3] == "no" &&
                            words[words.size() - 2] == "address" && words.back() == "available";
    if (!isGiven && !isOffered && !(isNoneLeft && (hasAddress || isBare)) && !(kind == "PXE" && isBare)) {
        return std::nullopt;
    }
    const auto& hardware = words[hasAddress ? 2 : 1];
    const bool isKnown = m_byHardware.count(hardware) != 0;
    const auto index = byHardware(hardware);
    if (!index) {
        return std::nullopt;
    }
    const auto before = isKnown ? text(*index) : "";
    auto& machine = m_machines[*index];
    if (isGiven) {
        machine.address = words[1];
        const auto [had, isNew] = m_byAddress.emplace(machine.address, *index);
        if (!isNew && had->second != *index) {
            had->second = *index;
            m_reassigned = readAddress(machine.address);
        }
    }
    machine.gotNoAddress = isNoneLeft;
    m_packet.machine = index;
    takeArchitecture(machine, now);
    return isOffered ? std::nullopt : ifChanged(*index, before); // it has not taken the offer yet
}

/// The tags of a packet are told before the answer to it, or after it.
std::optional<Machines::News> Machines::takeTags(const std::vector<std::string>& words, Time now) {
    for (const auto& word : words) {
        if (const auto* const architecture = architectureOfTag(word.substr(0, word.find(',')))) {
            m_packet.architecture = architecture;
        }
    }
    if (!m_packet.machine) {
        return std::nullopt;
    }
    const auto before = text(*m_packet.machine);
    takeArchitecture(m_machines[*m_packet.machine], now);
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
    noteActivity(machine, now);
    if (hasFailed) { // a machine that asks only for the size of a file goes on at once
        machine.failedFile = name;
        return std::nullopt;
    }
    machine.files.erase(std::remove(machine.files.begin(), machine.files.end(), name), machine.files.end());
    machine.files.push_back(name);
    if (machine.way == StartWay::unknown && name == VelaCreation::NETBOOT_LOADER) {
        machine.way = StartWay::bios; // some name no architecture
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
    noteActivity(machine, now);
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
        const bool isAtWork =
            machine.finished.empty() && !machine.hasStopped && whyNothingComes(machine).empty();
        const bool hasBegun =
            machine.way != StartWay::unknown || !machine.files.empty() || machine.percent.has_value();
        if (isAtWork && hasBegun && now - machine.lastNews > patienceWith(progressOf(machine), m_served)) {
            machine.hasStopped = true;
            stopped.push_back({index, nameOf(index) + endingOf(machine).substr(2)});
        }
    }
    return stopped;
}

void Machines::takeArchitecture(Machine& machine, Time now) const {
    if (m_packet.architecture != nullptr) {
        machine.way = m_packet.architecture->way;
        machine.hasOffer = m_served.withoutOffer.count(m_packet.architecture->number) == 0;
        noteActivity(machine, now);
    }
}

/// A machine that goes on has not stopped.
void Machines::noteActivity(Machine& machine, Time now) {
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
    if (m_machines.size() < MOST_MACHINES) {
        m_machines.push_back(machine);
        return m_machines.size() - 1;
    }
    // One that never took an address gives way: anybody can make up such machines.
    for (std::size_t tried = 0; tried < m_machines.size(); ++tried) {
        m_replaced = (m_replaced + 1) % m_machines.size();
        if (auto& old = m_machines[m_replaced]; old.address.empty()) {
            m_byHardware.erase(old.hardware);
            old = machine;
            return m_replaced;
        }
    }
    return std::nullopt;
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
    if (const auto reason = whyNothingComes(about); !reason.empty()) {
        return nameOf(machine) + reason;
    }
    const auto told = fetched + endingOf(about);
    return nameOf(machine) + (told.empty() ? "has fetched nothing yet" : told.substr(2));
}

/// @return empty when something is offered to it
std::string Machines::whyNothingComes(const Machine& machine) const {
    if (machine.gotNoAddress) {
        return "no address is left for it; choose a larger --range";
    }
    if (machine.hasOffer) {
        return "";
    }
    if (machine.way == StartWay::uefiByHttp) {
        return "asks for an image by HTTP; give it one with --image";
    }
    return m_served.archive == 0 ? "starts from a network-boot directory, and none is served"
                                 : "there is no loader for it on this computer";
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
    if (about.files.empty() && !about.percent) {
        return RANK_IDLE - 1; // anybody can make up such a machine
    }
    return about.hasStopped ? RANK_AT_WORK : 1 + std::min(about.percent.value_or(0), WHOLE - 3);
}

std::string Machines::total() const {
    const auto countIf = [&](const auto& isCounted) {
        return std::count_if(m_machines.begin(), m_machines.end(), isCounted);
    };
    const auto came =
        countIf([](const Machine& machine) { return !machine.files.empty() || machine.percent.has_value(); });
    const auto finished = countIf([](const Machine& machine) { return !machine.finished.empty(); });
    const auto stopped = countIf([](const Machine& machine) { return machine.hasStopped; });
    return std::to_string(count()) + (count() == 1 ? " machine asked, " : " machines asked, ") +
           std::to_string(came) + " fetched something, " + std::to_string(finished) + " had it all" +
           (stopped == 0 ? ""
                         : ", " + std::to_string(stopped) + (stopped == 1 ? " has" : " have") + " stopped");
}

} // namespace velacreate
