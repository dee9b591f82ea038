/// @file
/// IPv4 addresses and ranges.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// In host byte order, so that addresses can be counted.
using Address = std::uint32_t;

std::string addressText(Address address);

/// @return nothing unless the text is a dotted address
std::optional<Address> readAddress(const std::string& text);

/// A port's own address, and the mask of its network.
struct Network {
    Address own;
    Address mask;

    Address first() const { return own & mask; }
    Address last() const { return own | ~mask; }
    bool holds(Address address) const { return (address & mask) == first(); }
    bool operator==(const Network& other) const { return own == other.own && mask == other.mask; }
    /// Such as "10.7.0.1/24".
    std::string text() const;
};

/// Addresses to hand out, from the first to the last.
struct AddressRange {
    Network network;
    Address first;
    Address last;

    /// Such as "10.7.0.128 to 10.7.0.254".
    std::string text() const;
};

/// @throw Refusal when the network is too small
AddressRange upperHalf(const Network& network);

/// @param text      "FIRST,LAST"
/// @param networks of the port; one of them must hold the range
/// @throw Refusal
AddressRange readRange(const std::string& text, const std::vector<Network>& networks);

} // namespace velacreate
