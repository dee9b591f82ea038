#include "board/boardAddress.h"

#include "support/failure.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <strings.h>
#include <sys/socket.h>

namespace velacreate {
namespace {
constexpr int WAITING_CONNECTIONS = 64;
constexpr unsigned UNANSWERED_MILLISECONDS = 20000; // then a browser counts as gone

/// @return the name or address, and the port; an IPv6 address stands in brackets
std::pair<std::string, std::string> hostAndPort(const std::string& text) {
    const auto bracket = text.find(']');
    const auto colon = text.find(':', text.front() == '[' && bracket != std::string::npos ? bracket : 0);
    return colon == std::string::npos ? std::pair(text, std::string())
                                      : std::pair(text.substr(0, colon), text.substr(colon + 1));
}

/// @return the address without its brackets; empty when it is none
std::string insideBrackets(const std::string& host) {
    const bool hasBoth = host.size() > 2 && host.front() == '[' && host.back() == ']';
    return hasBoth ? host.substr(1, host.size() - 2) : "";
}

std::optional<std::uint16_t> portIn(const std::string& text) {
    constexpr std::size_t MOST_DIGITS = 5;
    const bool isNumber = !text.empty() && text.size() <= MOST_DIGITS &&
                          text.find_first_not_of("0123456789") == std::string::npos;
    const int number = isNumber ? std::stoi(text) : 0;
    return number > 0 && number <= UINT16_MAX ? std::optional(static_cast<std::uint16_t>(number))
                                              : std::nullopt;
}

/// An address with its port, of either kind.
struct SocketAddress {
    sockaddr_storage storage{};
    socklen_t size = 0;
};

template <typename Kind>
SocketAddress stored(const Kind& address) {
    SocketAddress result;
    result.size = sizeof address;
    std::memcpy(&result.storage, &address, sizeof address);
    return result;
}

std::optional<SocketAddress> readAddress(const std::string& host, std::uint16_t port) {
    sockaddr_in four{};
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    if (inet_pton(AF_INET, host.c_str(), &four.sin_addr) == 1) {
        return stored(four);
    }
    sockaddr_in6 six{};
    six.sin6_family = AF_INET6;
    six.sin6_port = htons(port);
    if (inet_pton(AF_INET6, insideBrackets(host).c_str(), &six.sin6_addr) == 1) {
        return stored(six);
    }
    return std::nullopt;
}

bool isSameName(const std::string& one, const std::string& other) {
    return strcasecmp(one.c_str(), other.c_str()) == 0;
}
} // namespace

Descriptor listenAt(const std::string& text) {
    const bool hasAddress = text.find(':') != std::string::npos;
    const auto [host, portText] = hasAddress ? hostAndPort(text) : std::pair(std::string("127.0.0.1"), text);
    const auto port = portIn(portText);
    const auto address = readAddress(host, port.value_or(1));
    refuseIf(!port || !address,
             "--board takes a port, or an address with a port such as 10.7.0.1:8080 or [::1]:8080, and " +
                 quote(text) + " is none");
    const auto what = "the board cannot be shown at " + text;
    Descriptor listener(
        socket(address->storage.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, IPPROTO_TCP));
    check(listener.isOpen()).orRefuse(what);
    const int on = 1;
    setsockopt(listener.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(listener.number(), IPPROTO_TCP, TCP_USER_TIMEOUT, &UNANSWERED_MILLISECONDS,
               sizeof UNANSWERED_MILLISECONDS);
    check(bind(listener.number(), reinterpret_cast<const sockaddr*>(&address->storage), address->size) == 0 &&
          listen(listener.number(), WAITING_CONNECTIONS) == 0)
        .orRefuse(what);
    return listener;
}

bool isOwnHost(const std::string& host, const std::string& machine) {
    if (host.empty()) {
        return false;
    }
    const auto name = hostAndPort(host).first;
    if (readAddress(name, 0)) {
        return true;
    }
    const auto shortName = machine.substr(0, machine.find('.'));
    const std::array<std::string, 4> own = {"localhost", machine, shortName, shortName + ".local"};
    return !name.empty() && std::any_of(own.begin(), own.end(), [&](const std::string& candidate) {
        return isSameName(name, candidate);
    });
}

} // namespace velacreate
