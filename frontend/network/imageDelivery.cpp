#include "network/imageDelivery.h"

#include "network/bootServer.h"

#include <algorithm>
#include <numeric>
#include <optional>
#include <regex>

namespace velacreate {
namespace {
constexpr std::size_t MOST_ENDED = 20000; ///< connections that are remembered
constexpr std::size_t MOST_SENDINGS = 2 * MOST_ENDED;
constexpr std::size_t MOST_PARTS = 1000;    ///< of a connection
constexpr std::size_t MOST_RANGES = 500000; ///< of all machines
constexpr std::size_t LONGEST_LINE = 300;
constexpr unsigned WHOLE = 100;

struct Answer {
    Address machine;
    std::uint16_t port;
    bool hasPart;       ///< of the image
    std::uint64_t sent; ///< with its head
    std::uint64_t body;
    std::uint64_t from;
};

std::optional<Answer> answerIn(const std::string& line) {
    static const std::regex form(R"(([0-9.]{7,15}) (\d{1,5}) (\d{3}) (\d{1,18}) (\d{1,18}) )"
                                 R"((?:-|bytes (\d{1,18})-\d{1,18}/\d{1,18}) \S* (\S*))");
    std::smatch parts;
    const bool isAnswer = line.size() <= LONGEST_LINE && std::regex_match(line, parts, form);
    const auto machine = isAnswer ? readAddress(parts[1]) : std::nullopt;
    if (!machine) {
        return std::nullopt;
    }
    const bool isWhole = parts[3] == "200";
    const bool isPart = parts[3] == "206" && parts[6].matched;
    const auto port = static_cast<std::uint16_t>(std::stoul(parts[2]));
    return Answer{*machine,
                  port,
                  (isWhole || isPart) && parts[7] != "HEAD" && parts[7] != "OPTIONS",
                  std::stoull(parts[4]),
                  std::stoull(parts[5]),
                  isPart ? std::stoull(parts[6]) : 0};
}
} // namespace

void ImageDelivery::takeAnswer(const std::string& line) {
    const auto answer = answerIn(line);
    if (!answer) {
        return;
    }
    const Place place{answer->machine, answer->port};
    auto* const sending = sendingAt(place);
    if (sending == nullptr) {
        return;
    }
    m_news.insert(answer->machine);
    sending->sent += answer->sent;
    if (answer->hasPart && answer->body <= answer->sent && sending->parts.size() < MOST_PARTS) {
        sending->parts.push_back({answer->from, answer->body, sending->sent - answer->body});
        settle(place, *sending);
    }
}

void ImageDelivery::takeCount(const Connection& connection) {
    const Place place{connection.peer, connection.port};
    auto* const sending = sendingAt(place);
    if (sending == nullptr) {
        return;
    }
    if (sending->number != 0 && sending->number != connection.number) {
        *sending = {};
    }
    sending->number = connection.number;
    if (connection.acknowledged > sending->acknowledged) {
        sending->acknowledged = connection.acknowledged;
        m_news.insert(connection.peer);
    }
    if (connection.hasEnded && !std::exchange(sending->hasEnded, true)) {
        m_ended.push_back(place);
    }
    settle(place, *sending);
    if (m_ended.size() > MOST_ENDED) {
        const auto oldest = m_ended.front();
        m_ended.pop_front();
        if (const auto found = m_sendings.find(oldest); found != m_sendings.end() && found->second.hasEnded) {
            m_sendings.erase(found);
            m_machines[oldest.first].open.erase(oldest.second);
        }
    }
}

std::vector<ImageDelivery::News> ImageDelivery::takeNews() {
    std::vector<News> news;
    for (const auto address : std::exchange(m_news, {})) {
        const auto& machine = m_machines[address];
        news.push_back({address, percentOf(address, machine)});
    }
    return news;
}

void ImageDelivery::forget(Address address) {
    if (const auto found = m_machines.find(address); found != m_machines.end()) {
        for (const auto port : found->second.open) {
            m_sendings.erase({address, port});
        }
        m_ranges -= found->second.got.size();
        m_machines.erase(found);
    }
    m_news.erase(address);
}

/// @return null for one machine or one connection too many
ImageDelivery::Sending* ImageDelivery::sendingAt(const Place& place) {
    const bool isNewMachine = m_machines.count(place.first) == 0;
    if ((isNewMachine && m_machines.size() >= MOST_MACHINES) ||
        (m_sendings.count(place) == 0 && m_sendings.size() >= MOST_SENDINGS)) {
        return nullptr;
    }
    m_machines[place.first].open.insert(place.second);
    return &m_sendings[place];
}

std::uint64_t ImageDelivery::acknowledgedOf(const Part& part, const Sending& sending) {
    return std::min(sending.acknowledged - std::min(sending.acknowledged, part.start), part.size);
}

/// Counts what was acknowledged. What is left of a connection that has ended never will be.
void ImageDelivery::settle(const Place& place, Sending& sending) {
    auto& parts = sending.parts;
    const auto isSettled = [&](const Part& part) {
        const bool isWhole = sending.acknowledged >= part.start + part.size;
        if (!isWhole && !sending.hasEnded) {
            return false;
        }
        add(m_machines[place.first].got, part.from, acknowledgedOf(part, sending));
        return true;
    };
    parts.erase(std::remove_if(parts.begin(), parts.end(), isSettled), parts.end());
}

void ImageDelivery::add(Ranges& ranges, std::uint64_t from, std::uint64_t size) {
    auto end = std::min(from + size, m_size);
    auto next = ranges.upper_bound(from);
    if (next != ranges.begin() && std::prev(next)->second >= from) {
        --next;
        from = next->first;
    }
    while (next != ranges.end() && next->first <= end) {
        end = std::max(end, next->second);
        next = ranges.erase(next);
        --m_ranges;
    }
    if (from < end && m_ranges < MOST_RANGES) {
        ranges[from] = end;
        ++m_ranges;
    }
}

/// What is on its way counts, too, as it will come in most cases.
unsigned ImageDelivery::percentOf(Address address, const Machine& machine) const {
    std::uint64_t bytes = 0;
    for (const auto& [from, end] : machine.got) {
        bytes += end - from;
    }
    if (bytes == m_size) {
        return WHOLE;
    }
    for (const auto port : machine.open) {
        const auto& sending = m_sendings.at({address, port});
        bytes += sending.acknowledged - std::min(sending.acknowledged, sending.sent);
        for (const auto& part : sending.parts) {
            bytes += acknowledgedOf(part, sending);
        }
    }
    return std::min(static_cast<unsigned>(bytes * WHOLE / m_size), WHOLE - 1);
}

} // namespace velacreate
