#include "network/addresses.h"

#include "support/failure.h"

#include <algorithm>
#include <array>

#include <arpa/inet.h>

namespace velacreate {
namespace {
/// The port's own address, and the first and the last of a network, are never handed out.
AddressRange checked(const AddressRange& range) {
    const auto& network = range.network;
    refuseIf(range.first <= network.first() || range.last >= network.last(),
             "the range holds an address that stands for the whole network " + network.text());
    refuseIf(range.first == network.own && range.last == network.own,
             "the range holds no address but the interface's own, " + addressText(network.own));
    return range;
}
} // namespace

std::string addressText(Address address) {
    const in_addr inNetworkOrder{htonl(address)};
    std::array<char, INET_ADDRSTRLEN> text{};
    inet_ntop(AF_INET, &inNetworkOrder, text.data(), text.size());
    return text.data();
}

std::optional<Address> readAddress(const std::string& text) {
    in_addr address{};
    if (inet_pton(AF_INET, text.c_str(), &address) != 1) {
        return std::nullopt;
    }
    return ntohl(address.s_addr);
}

std::string Network::text() const {
    int bits = 0;
    for (Address rest = mask; rest != 0; rest <<= 1U) {
        ++bits;
    }
    return addressText(own) + "/" + std::to_string(bits);
}

std::string AddressRange::text() const {
    return addressText(first) + " to " + addressText(last);
}

AddressRange upperHalf(const Network& network) {
    constexpr Address SMALLEST = 3; // one address beside the port's, and the two for the whole network
    refuseIf(~network.mask < SMALLEST, "the network " + network.text() + " has no address to hand out");
    const Address first = network.first() + (~network.mask / 2) + 1;
    const AddressRange range{network, first, network.last() - 1};
    refuseIf(first == range.last && first == network.own,
             "the upper half of " + network.text() + " has no address to hand out; choose some with --range");
    return range;
}

AddressRange readRange(const std::string& text, const std::vector<Network>& networks) {
    const auto comma = std::min(text.find(','), text.size());
    const auto first = readAddress(text.substr(0, comma));
    const auto last = comma < text.size() ? readAddress(text.substr(comma + 1)) : std::nullopt;
    refuseIf(!first || !last,
             "the range " + quote(text) + " is not two IPv4 addresses with a comma between them");
    refuseIf(*first > *last, "the range " + quote(text) + " ends before it begins");
    const auto network = std::find_if(networks.begin(), networks.end(), [&](const Network& candidate) {
        return candidate.holds(*first) && candidate.holds(*last);
    });
    refuseIf(network == networks.end(),
             "the range " + quote(text) + " is not in the interface's network, " + networks.front().text());
    return checked({*network, *first, *last});
}

} // namespace velacreate
