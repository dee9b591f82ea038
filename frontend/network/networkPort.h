/// @file
/// The network interface of a server.
#pragma once

#include "network/addresses.h"
#include "support/descriptor.h"

#include <cstdint>
#include <string>
#include <vector>

namespace velacreate {

class NetworkPort {
public:
    /// @throw Refusal when it is missing, down, without an address, or of another kind, or when the server
    /// cannot take its name
    explicit NetworkPort(const std::string& name);

    const std::string& name() const { return m_name; }
    /// One for each of its addresses; never empty.
    const std::vector<Network>& networks() const { return m_networks; }
    bool isPluggedIn() const { return m_isPluggedIn; }

    /// @return why it can no longer be served; empty when it can
    std::string change() const;

    /// Refuses a port that another program serves. The system would give each request to either of them.
    /// @param isProxy whether another server hands out addresses
    void requireUnserved(bool isProxy, bool isByTftp) const;

    /// Refuses a TCP port of one of its addresses that another program serves.
    static void requireUnserved(Address address, std::uint16_t port);

    /// Keeps the interface for this call: the servers of two calls could share it without a word.
    /// @return to be held
    /// @throw Refusal when another call has it
    Descriptor claim() const;

private:
    std::string m_name;
    unsigned m_index;
    bool m_isPluggedIn = false;
    std::vector<Network> m_networks;
};

} // namespace velacreate
