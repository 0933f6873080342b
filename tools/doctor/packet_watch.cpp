#include "packet_watch.h"

#include <boost/asio/buffer.hpp>
#include <boost/system/system_error.hpp>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <linux/filter.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <sys/socket.h>
#include <utility>

using boost::asio::generic::datagram_protocol;
using boost::asio::ip::address_v4;
using boost::asio::ip::udp;
using boost::system::error_code;

namespace kx::tools {
namespace {

constexpr int kSocketBufferSize = 1024 * 1024;

/// Returns a filter (SO_ATTACH_FILTER of socket(7)) that passes UDP datagrams from or to the ports.
/// Without it, this program would receive every packet, a recorder's video included.
std::vector<sock_filter> MakeFilter(const std::vector<std::uint16_t>& ports)
{
    const auto ancillary = [](int offset) {
        return static_cast<std::uint32_t>(SKF_AD_OFF + offset);
    };
    constexpr std::uint8_t kDrop = 255; // stands for the distance to the end, filled in below
    std::vector<sock_filter> filter{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ancillary(SKF_AD_PROTOCOL)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ETHERTYPE_IP, 0, kDrop),
        // Frames of a VLAN also pass its parent device, but do not belong to it. Their VLAN
        // identifier, the low 12 bits of the tag, is not 0.
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, ancillary(SKF_AD_VLAN_TAG)),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, 0xfff, kDrop, 0),
        BPF_STMT(BPF_LD | BPF_B | BPF_ABS, offsetof(iphdr, protocol)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, IPPROTO_UDP, 0, kDrop),
        BPF_STMT(BPF_LD | BPF_H | BPF_ABS, offsetof(iphdr, frag_off)),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, IP_OFFMASK, kDrop, 0),
        BPF_STMT(BPF_LDX | BPF_B | BPF_MSH, 0), // register X: length of the IP header
    };
    for (const std::size_t offset : {offsetof(udphdr, source), offsetof(udphdr, dest)}) {
        filter.push_back(BPF_STMT(BPF_LD | BPF_H | BPF_IND, static_cast<std::uint32_t>(offset)));
        for (const std::uint16_t port : ports) {
            filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, port, 0, 1));
            filter.push_back(BPF_STMT(BPF_RET | BPF_K, IP_MAXPACKET));
        }
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, 0));
    const std::size_t end = filter.size() - 1;
    for (std::size_t index = 0; index < end; ++index) {
        const auto distance = static_cast<std::uint8_t>(end - index - 1);
        if (filter[index].jt == kDrop)
            filter[index].jt = distance;
        if (filter[index].jf == kDrop)
            filter[index].jf = distance;
    }
    return filter;
}

udp::endpoint EndpointOf(std::uint32_t address, std::uint16_t port)
{
    return {address_v4(ntohl(address)), ntohs(port)};
}

} // namespace

CPacketWatch::CPacketWatch(boost::asio::io_context& ioService, const Adapter& adapter,
                           const std::vector<std::uint16_t>& ports, OnDatagram handler)
    : onDatagram(std::move(handler)),
      socket(ioService, datagram_protocol(AF_PACKET, 0)) // 0: receives nothing before bind
{
    std::vector<sock_filter> filter = MakeFilter(ports);
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    if (setsockopt(socket.native_handle(), SOL_SOCKET, SO_ATTACH_FILTER, &program,
                   sizeof(program)) < 0)
        throw boost::system::system_error(errno, boost::system::system_category());
    socket.set_option(datagram_protocol::socket::receive_buffer_size(kSocketBufferSize));

    sockaddr_ll address{};
    address.sll_family = AF_PACKET;
    // Not ETH_P_IP: a packet socket for one protocol does not receive outgoing packets.
    address.sll_protocol = htons(ETH_P_ALL);
    address.sll_ifindex = adapter.index;
    socket.bind({&address, sizeof(address)});
    StartReceive();
}

void CPacketWatch::StartReceive()
{
    socket.async_receive_from(boost::asio::buffer(buffer), source,
                              [this](const error_code& error, std::size_t length) {
                                  if (error == boost::asio::error::operation_aborted)
                                      return;
                                  if (!error)
                                      OnReceive(length);
                                  StartReceive(); // after ENETDOWN too: the adapter may come up
                              });
}

void CPacketWatch::OnReceive(std::size_t length)
{
    iphdr ip;
    udphdr udp;
    if (length < sizeof(ip))
        return;
    std::memcpy(&ip, buffer.data(), sizeof(ip));
    const std::size_t ipLength = std::size_t{ip.ihl} * 4;
    if (ipLength < sizeof(ip) || length < ipLength + sizeof(udp))
        return;
    std::memcpy(&udp, &buffer[ipLength], sizeof(udp));
    sockaddr_ll link;
    std::memcpy(&link, source.data(), sizeof(link));
    // In promiscuous mode, the adapter also receives datagrams for other machines.
    if (link.sll_pkttype == PACKET_OTHERHOST)
        return;

    // Short Ethernet frames are padded, so the length comes from the UDP header.
    const std::size_t begin = ipLength + sizeof(udp);
    const std::size_t given = ntohs(udp.len);
    const std::size_t payload = given < sizeof(udp) ? 0 : given - sizeof(udp);
    onDatagram({link.sll_pkttype == PACKET_OUTGOING, EndpointOf(ip.saddr, udp.source),
                EndpointOf(ip.daddr, udp.dest),
                std::string_view(&buffer[begin], std::min(payload, length - begin))});
}

} // namespace kx::tools
