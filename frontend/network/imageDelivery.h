/// @file
/// How much of an image each machine has got.
#pragma once

#include "network/acknowledgements.h"

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace velacreate {

/// Puts together what the HTTP server has sent, by its log, and what was acknowledged. Bytes count once,
/// in whatever number of requests, and only when they were acknowledged.
class ImageDelivery {
public:
    /// @param size  of the image, in bytes
    explicit ImageDelivery(std::uint64_t size) : m_size(size) {}

    /// Takes a line of the server's log (see ACCESS_FORMAT). Others are ignored.
    void takeAnswer(const std::string& line);
    void takeCount(const Connection& connection);

    struct News {
        Address machine;
        unsigned percent; ///< 100 only when it has every byte
    };
    /// @return the machines that have asked for something or acknowledged something since the last call
    std::vector<News> takeNews();

    /// Another machine has this address from now on.
    void forget(Address address);

private:
    /// Bytes from the first to behind the last.
    using Ranges = std::map<std::uint64_t, std::uint64_t>;

    /// A part of the image that was sent.
    struct Part {
        std::uint64_t from;
        std::uint64_t size;
        std::uint64_t start; ///< in what the connection has sent
    };
    struct Sending {
        std::uint64_t number = 0;
        std::uint64_t acknowledged = 0;
        std::uint64_t sent = 0; ///< in answers that are complete
        bool hasEnded = false;
        std::vector<Part> parts = {}; ///< that were not acknowledged in whole
    };
    struct Machine {
        Ranges got;
        std::set<std::uint16_t> open; ///< ports of connections
    };
    using Place = std::pair<Address, std::uint16_t>;

    static std::uint64_t acknowledgedOf(const Part& part, const Sending& sending);
    Sending* sendingAt(const Place& place);
    void settle(const Place& place, Sending& sending);
    void add(Ranges& ranges, std::uint64_t from, std::uint64_t size);
    unsigned percentOf(Address address, const Machine& machine) const;

    std::uint64_t m_size;
    std::map<Place, Sending> m_sendings;
    std::deque<Place> m_ended; ///< whose last answers may not be in the log yet
    std::map<Address, Machine> m_machines;
    std::set<Address> m_news;
    std::size_t m_ranges = 0; ///< of all machines
};

} // namespace velacreate
