#include "network/acknowledgements.h"

#include "support/failure.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace velacreate {
namespace {
constexpr int MANY_ENDS = 4 << 20; ///< bytes of messages that wait to be read
constexpr std::uint32_t ESTABLISHED_AND_CLOSING = 0xffffU & ~(1U << 3U | 1U << 6U | 1U << 10U | 1U << 12U);

Descriptor openSocket(unsigned groups) {
    Descriptor opened(socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
    sockaddr_nl self{};
    self.nl_family = AF_NETLINK;
    self.nl_groups = groups;
    check(opened.isOpen() &&
          setsockopt(opened.number(), SOL_SOCKET, SO_RCVBUFFORCE, &MANY_ENDS, sizeof MANY_ENDS) == 0 &&
          bind(opened.number(), reinterpret_cast<const sockaddr*>(&self), sizeof self) == 0)
        .orFail("what machines acknowledge cannot be seen");
    return opened;
}

/// The bytes behind a structure in a message.
template <typename Structure>
const std::byte* behind(const Structure* structure) {
    return reinterpret_cast<const std::byte*>(structure) + NLMSG_ALIGN(sizeof(Structure));
}

std::uint64_t acknowledgedIn(const nlmsghdr* header, const inet_diag_msg* about) {
    const auto* const end = reinterpret_cast<const std::byte*>(header) + header->nlmsg_len;
    const auto* attribute = reinterpret_cast<const rtattr*>(behind(about));
    auto left = static_cast<int>(end - behind(about));
    for (; RTA_OK(attribute, left); attribute = RTA_NEXT(attribute, left)) {
        constexpr auto NEEDED = offsetof(tcp_info, tcpi_bytes_acked) + sizeof(__u64);
        if (attribute->rta_type == INET_DIAG_INFO && RTA_PAYLOAD(attribute) >= NEEDED) {
            std::uint64_t acknowledged = 0;
            std::memcpy(&acknowledged,
                        static_cast<const std::byte*>(RTA_DATA(attribute)) +
                            offsetof(tcp_info, tcpi_bytes_acked),
                        sizeof acknowledged);
            return acknowledged;
        }
    }
    return 0;
}

} // namespace

Acknowledgements::Acknowledgements(Address server, std::uint16_t port)
    : m_server(server), m_port(port), m_ended(openSocket(1U << (SKNLGRP_INET_TCP_DESTROY - 1U))),
      m_open(openSocket(0)) {}

/// @return false when there is nothing more
bool Acknowledgements::receive(const Descriptor& from, int flags, bool haveEnded, const Use& use) const {
    alignas(nlmsghdr) std::array<char, 65536> bytes{};
    const auto size = recv(from.number(), bytes.data(), bytes.size(), flags);
    if (size <= 0) {
        return size < 0 && errno == ENOBUFS; // some were lost
    }
    auto left = static_cast<unsigned>(size);
    for (const auto* header = reinterpret_cast<const nlmsghdr*>(bytes.data()); NLMSG_OK(header, left);
         header = NLMSG_NEXT(header, left)) {
        if (header->nlmsg_type == NLMSG_DONE || header->nlmsg_type == NLMSG_ERROR) {
            return false;
        }
        const auto* const about = static_cast<const inet_diag_msg*>(NLMSG_DATA(header));
        const auto& id = about->id;
        if (about->idiag_family == AF_INET && ntohs(id.idiag_sport) == m_port &&
            ntohl(id.idiag_src[0]) == m_server) {
            use({ntohl(id.idiag_dst[0]), ntohs(id.idiag_dport),
                 std::uint64_t{id.idiag_cookie[1]} << 32U | id.idiag_cookie[0], acknowledgedIn(header, about),
                 haveEnded});
        }
    }
    return true;
}

void Acknowledgements::takeEnded(const Use& use) const {
    while (receive(m_ended, MSG_DONTWAIT, true, use)) {
    }
}

void Acknowledgements::takeOpen(const Use& use) const {
    struct {
        nlmsghdr header;
        inet_diag_req_v2 request;
    } message{};
    message.header.nlmsg_len = sizeof message;
    message.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    message.header.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
    message.request.sdiag_family = AF_INET;
    message.request.sdiag_protocol = IPPROTO_TCP;
    message.request.idiag_ext = 1U << (INET_DIAG_INFO - 1U);
    message.request.idiag_states = ESTABLISHED_AND_CLOSING;
    message.request.id.idiag_sport = htons(m_port);
    check(send(m_open.number(), &message, sizeof message, 0) == sizeof message)
        .orFail("what machines acknowledge cannot be asked for");
    while (receive(m_open, 0, false, use)) {
    }
}

} // namespace velacreate
