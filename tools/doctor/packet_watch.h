#pragma once

#include "adapter.h"

#include <boost/asio/generic/datagram_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

namespace kx::tools {

/// A UDP datagram that arrives at an adapter or leaves by it.
struct SeenDatagram {
    bool outgoing; ///< leaves this machine
    boost::asio::ip::udp::endpoint source;
    boost::asio::ip::udp::endpoint destination;
    std::string_view payload; ///< valid only during the handler
};

/// Watches the IPv4 UDP datagrams on an adapter with a packet socket (packet(7)). It sees arriving
/// datagrams before a firewall or reverse-path filtering can drop them, but leaving datagrams only
/// after the firewall. Of a fragmented datagram it sees only the first fragment.
///
/// Threads: the one that runs the I/O service. The handler is called there.
class CPacketWatch {
public:
    using OnDatagram = std::function<void(const SeenDatagram& datagram)>;

    /// @param ports  the handler gets only datagrams from or to these
    ///
    /// Errors: boost::system::system_error; operation_not_permitted without CAP_NET_RAW.
    CPacketWatch(boost::asio::io_context& ioService, const Adapter& adapter,
                 const std::vector<std::uint16_t>& ports, OnDatagram handler);
    CPacketWatch(const CPacketWatch&) = delete;
    CPacketWatch& operator=(const CPacketWatch&) = delete;

private:
    void StartReceive();
    void OnReceive(std::size_t length);

    const OnDatagram onDatagram;
    boost::asio::generic::datagram_protocol::socket socket;
    boost::asio::generic::datagram_protocol::endpoint source;
    std::array<char, 65536> buffer; // no IPv4 packet is longer
};

} // namespace kx::tools
