/// @file
/// How much the other ends of a server's connections have acknowledged, as the kernel counts it.
#pragma once

#include "network/addresses.h"
#include "support/descriptor.h"

#include <cstdint>
#include <functional>

namespace velacreate {

/// A TCP connection, and its count.
struct Connection {
    Address peer;
    std::uint16_t port;         ///< of the peer
    std::uint64_t number;       ///< the kernel's, for connections that have the same address and port in turn
    std::uint64_t acknowledged; ///< bytes
    bool hasEnded;
};

class Acknowledgements {
public:
    /// @param server  its address, for this port
    /// @throw Failure when the kernel does not count
    Acknowledgements(Address server, std::uint16_t port);

    using Use = std::function<void(const Connection& connection)>;

    /// Never waits.
    /// @param use  called with the last count of each connection that has ended since the last call
    void takeEnded(const Use& use) const;

    /// @param use  called with the count of each open connection
    void takeOpen(const Use& use) const;

private:
    bool receive(const Descriptor& from, int flags, bool haveEnded, const Use& use) const;

    Address m_server;
    std::uint16_t m_port;
    Descriptor m_ended;
    Descriptor m_open;
};

} // namespace velacreate
