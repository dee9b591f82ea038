/// @file
/// IPv4 addresses, and those that are handed out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace velacreate {

/// In the machine's own byte order, so that addresses can be counted.
using Address = std::uint32_t;

std::string addressText(Address address);

/// @return nothing unless the text is four numbers with points between them
std::optional<Address> readAddress(const std::string& text);

/// What a network port is in: its own address there, and the bits of the network's part.
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

/// The addresses that a network's machines are given, both ends included.
struct AddressRange {
    Network network;
    Address first;
    Address last;

    /// Such as "10.7.0.128 to 10.7.0.254".
    std::string text() const;
};

/// @throw Refusal when the network is too small to hand any out
AddressRange upperHalf(const Network& network);

/// @param text      "FIRST,LAST"
/// @param networks  of the port; the range must lie in one of them
/// @throw Refusal
AddressRange readRange(const std::string& text, const std::vector<Network>& networks);

} // namespace velacreate
