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

/// A UDP datagram as it crosses an adapter.
struct SeenDatagram {
    bool outgoing; ///< it leaves this machine; otherwise it has come to it
    boost::asio::ip::udp::endpoint source;
    boost::asio::ip::udp::endpoint destination;
    std::string_view payload; ///< valid during the call only
};

/// Sees the UDP datagrams over IPv4 that come to an adapter before any firewall or filter drops
/// them, and those that leave after it: packet(7). Fragments but the first are not seen.
///
/// Threads: the one that runs the service.
class CPacketWatch {
public:
    using OnDatagram = std::function<void(const SeenDatagram& datagram)>;

    /// Watches from here on.
    ///
    /// @param ports  a datagram is seen when it comes from or goes to one of these
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
