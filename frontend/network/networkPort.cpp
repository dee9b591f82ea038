#include "network/networkPort.h"

#include "support/failure.h"
#include "support/texts.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <memory>

#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace velacreate {
namespace {
constexpr std::uint16_t DHCP_PORT = 67;
constexpr std::uint16_t TFTP_PORT = 69;
constexpr std::uint16_t BOOT_PORT = 4011; ///< for boot questions without a request for an address

struct AddressesFreer {
    void operator()(ifaddrs* addresses) const { freeifaddrs(addresses); }
};
using Addresses = std::unique_ptr<ifaddrs, AddressesFreer>;

Addresses addressesOfAll() {
    ifaddrs* addresses = nullptr;
    check(getifaddrs(&addresses) == 0).orFail("the network interfaces cannot be listed");
    return Addresses(addresses);
}

Address addressIn(const sockaddr* address) {
    return ntohl(reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr);
}

bool isInUse(const Descriptor& trial, std::uint16_t number, Address address) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(number);
    place.sin_addr.s_addr = htonl(address);
    return bind(trial.number(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 &&
           errno == EADDRINUSE;
}

/// Binds without SO_REUSEADDR, or EADDRINUSE would not be reported.
bool isInUse(std::uint16_t number, Address address, const std::string& port) {
    const Descriptor trial(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    const auto length = static_cast<socklen_t>(port.size());
    check(trial.isOpen() &&
          setsockopt(trial.number(), SOL_SOCKET, SO_BINDTODEVICE, port.c_str(), length) == 0)
        .orFail("a socket on " + port);
    return isInUse(trial, number, address);
}

/// @param kind  of the port, such as "UDP port"
std::string reasonOfOther(const std::string& place, const std::string& kind, std::uint16_t number) {
    return "another program of this machine serves " + place + " already (" + kind + " " +
           std::to_string(number) + "); end it first. \"ss -lntup\" shows which it is";
}

void requireFree(std::uint16_t number, Address address, const std::string& port) {
    refuseIf(isInUse(number, address, port), reasonOfOther(port, "UDP port", number));
}
} // namespace

NetworkPort::NetworkPort(const std::string& name) : m_name(name), m_index(if_nametoindex(name.c_str())) {
    refuseIf(m_index == 0, "there is no network interface " + quote(name) + "; \"ip link\" lists them");
    // The server reads some characters as a pattern or as the end of a name.
    refuseIf(!isPlain(name, "._-@+"),
             "the network interface " + quote(name) + " has a name that cannot be served; rename it");
    const auto all = addressesOfAll();
    unsigned flags = 0;
    for (const auto* entry = all.get(); entry != nullptr; entry = entry->ifa_next) {
        if (name != entry->ifa_name) {
            continue;
        }
        flags |= entry->ifa_flags;
        if (entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
            m_networks.push_back({addressIn(entry->ifa_addr), addressIn(entry->ifa_netmask)});
        }
    }
    refuseIf((flags & IFF_BROADCAST) == 0, name + " has no broadcasts, and machines need them to boot");
    refuseIf((flags & IFF_UP) == 0, name + " is not up; \"ip link set " + name + " up\" does it");
    refuseIf(m_networks.empty(),
             name + " has no IPv4 address; \"ip address add ADDRESS/BITS dev " + name + "\" gives it one");
    m_isPluggedIn = (flags & IFF_RUNNING) != 0;
}

std::string NetworkPort::change() const {
    try {
        const NetworkPort now(m_name);
        return now.m_index != m_index         ? m_name + " is another network interface now"
               : now.networks() != m_networks ? m_name + " has other addresses now"
                                              : "";
    } catch (const Refusal& refusal) {
        return refusal.what();
    }
}

void NetworkPort::requireUnserved(bool isProxy, bool isByTftp) const {
    requireFree(DHCP_PORT, INADDR_ANY, m_name);
    for (const auto& network : m_networks) {
        if (isByTftp) {
            requireFree(TFTP_PORT, network.own, m_name);
        }
    }
    if (isProxy) {
        requireFree(BOOT_PORT, INADDR_ANY, m_name);
    }
}

Descriptor NetworkPort::claim() const {
    Descriptor claim(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    const auto name = "velacreate serve " + std::to_string(m_index); // no file: its first byte is zero
    std::copy(name.begin(), name.end(), place.sun_path + 1);
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
    const auto isFree = bind(claim.number(), reinterpret_cast<const sockaddr*>(&place), length) == 0;
    const SystemError error;
    refuseIf(!isFree && error.number() == EADDRINUSE,
             "another call of velacreate serves " + m_name + " already; end it first");
    if (!isFree) {
        throw Failure(error.about("a socket for " + m_name));
    }
    return claim;
}

// With SO_REUSEADDR, connections that have just ended are not taken for a server.
void NetworkPort::requireUnserved(Address address, std::uint16_t port) {
    const Descriptor trial(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int yes = 1;
    check(trial.isOpen() && setsockopt(trial.number(), SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes) == 0)
        .orFail("a socket");
    refuseIf(isInUse(trial, port, address),
             reasonOfOther(addressText(address), "TCP port", port) +
                 "; the package lighttpd starts a server: \"systemctl disable --now lighttpd\" ends it");
}

} // namespace velacreate
