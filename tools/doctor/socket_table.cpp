#include "socket_table.h"

#include "netlink.h"
#include "text.h"

#include <boost/asio/ip/address_v6.hpp>
#include <netlink/attr.h>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <linux/inet_diag.h>
#include <linux/sock_diag.h>
#include <netinet/in.h>
#include <optional>
#include <stdexcept>

using boost::asio::ip::address_v4;
using boost::asio::ip::address_v6;

namespace kx::tools {
namespace {

/// Returns the address of a socket as IPv4; nothing if it is an IPv6 address at which no IPv4
/// datagram can arrive.
std::optional<address_v4> AddressOf(const inet_diag_msg& message)
{
    address_v4::bytes_type ipv4;
    std::memcpy(ipv4.data(), message.id.idiag_src, ipv4.size());
    if (message.idiag_family == AF_INET)
        return address_v4(ipv4);
    address_v6::bytes_type ipv6;
    std::memcpy(ipv6.data(), message.id.idiag_src, ipv6.size());
    const address_v6 address(ipv6);
    if (address.is_unspecified())
        return address_v4();
    if (!address.is_v4_mapped())
        return std::nullopt;
    return boost::asio::ip::make_address_v4(boost::asio::ip::v4_mapped, address);
}

/// Adds the socket that the message describes, if ReadUdpSockets is to return it.
void AddSocket(nlmsghdr* header, std::uint16_t port, std::vector<UdpSocket>& sockets)
{
    std::array<nlattr*, INET_DIAG_MAX + 1> attributes{};
    const auto* message = static_cast<const inet_diag_msg*>(nlmsg_data(header));
    if (nlmsg_parse(header, sizeof(*message), attributes.data(), INET_DIAG_MAX, nullptr) < 0)
        return;
    const bool ipv6 = message->idiag_family == AF_INET6;
    const nlattr* only6 = attributes[INET_DIAG_SKV6ONLY];
    const std::optional<address_v4> address = AddressOf(*message);
    if (message->id.idiag_sport != htons(port) || message->id.idiag_dport != 0 || !address ||
        (ipv6 && only6 && nla_get_u8(only6) != 0))
        return;

    std::array<std::uint32_t, SK_MEMINFO_VARS> memory{};
    if (nlattr* given = attributes[INET_DIAG_SKMEMINFO])
        nla_memcpy(memory.data(), given, sizeof(memory));
    sockets.push_back({*address, static_cast<int>(message->id.idiag_if), ipv6, message->idiag_uid,
                       message->idiag_inode, memory[SK_MEMINFO_RCVBUF], memory[SK_MEMINFO_DROPS]});
}

int Score(const UdpSocket& socket)
{
    return (socket.address.is_unspecified() ? 0 : 4) + (socket.device == 0 ? 0 : 2) +
           (socket.ipv6 ? 0 : 1);
}

} // namespace

// In reverse order of binding: bind(2) puts a socket at the head of its port's list, which the
// kernel dumps from the head.
std::vector<UdpSocket> ReadUdpSockets(std::uint16_t port)
{
    std::vector<UdpSocket> sockets;
    for (const int family : {AF_INET, AF_INET6}) {
        inet_diag_req_v2 content{};
        content.sdiag_family = static_cast<std::uint8_t>(family);
        content.sdiag_protocol = IPPROTO_UDP;
        content.idiag_ext = 1U << (INET_DIAG_SKMEMINFO - 1);
        content.idiag_states = ~0U;
        const NetlinkMessage request =
            MakeNetlinkMessage(SOCK_DIAG_BY_FAMILY, NLM_F_REQUEST | NLM_F_DUMP);
        int error = nlmsg_append(request.get(), &content, sizeof(content), NLMSG_ALIGNTO);
        if (error >= 0) {
            error = AskKernel(NETLINK_SOCK_DIAG, request.get(),
                              [&](nlmsghdr* header) { AddSocket(header, port, sockets); });
        }
        // A kernel without IPv6 has no such sockets and returns an error for AF_INET6.
        if (error < 0 && family == AF_INET)
            throw std::runtime_error(Compose("cannot list the UDP sockets: ", nl_geterror(error)));
    }
    return sockets;
}

const UdpSocket* DirectReceiver(const std::vector<UdpSocket>& sockets, const address_v4& address,
                                int device)
{
    const UdpSocket* best = nullptr;
    for (const UdpSocket& each : sockets) {
        const bool takes = (each.address.is_unspecified() || each.address == address) &&
                           (each.device == 0 || each.device == device);
        if (takes && (!best || Score(each) > Score(*best)))
            best = &each;
    }
    return best;
}

} // namespace kx::tools
