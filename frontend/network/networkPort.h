/// @file
/// The network port that machines are served on.
#pragma once

#include "network/addresses.h"

#include <string>
#include <vector>

namespace velacreate {

class NetworkPort {
public:
    /// @throw Refusal unless it is there, up, and has an address
    explicit NetworkPort(const std::string& name);

    const std::string& name() const { return m_name; }
    /// One for each of its addresses; there is one at least.
    const std::vector<Network>& networks() const { return m_networks; }
    bool isPluggedIn() const { return m_isPluggedIn; }

    /// @return why it can be served no longer; empty when it can
    std::string change() const;

    /// Refuses a port on which another program of this machine answers already: the system would let both do
    /// so, and give each request to one of them.
    /// @param isProxy  whether addresses are left to another server
    void requireUnserved(bool isProxy) const;

private:
    std::string m_name;
    unsigned m_index;
    bool m_isPluggedIn = false;
    std::vector<Network> m_networks;
};

} // namespace velacreate
