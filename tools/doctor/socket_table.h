#pragma once

#include <boost/asio/ip/address_v4.hpp>

#include <cstdint>
#include <vector>

namespace kx::tools {

/// A UDP socket of this machine that can receive over IPv4.
struct UdpSocket {
    boost::asio::ip::address_v4 address; ///< unspecified for a wildcard
    int device;                          ///< index of the device that it is bound to; 0 for none
    bool ipv6;                           ///< an IPv6 socket that receives IPv4 as well
    std::uint32_t user;                  ///< number of the user who created it
    std::uint32_t inode;                 ///< number by which /proc/PID/fd names it
    std::uint32_t receiveBuffer;         ///< bytes, twice the number asked for: socket(7)
    std::uint32_t dropCount;             ///< datagrams that did not fit into the buffer
};

/// Reads the unconnected UDP sockets on a port over sock_diag(7). The one that was bound last comes
/// first.
///
/// Errors: std::runtime_error.
/// Thread-safe.
std::vector<UdpSocket> ReadUdpSockets(std::uint16_t port);

/// Returns the socket to which the kernel gives a datagram that arrives on a device for an address
/// of the machine; null when there is none.
///
/// The kernel prefers a socket that is bound to the address, then one that is bound to the device,
/// then IPv4 over IPv6, then the one that was bound last.
///
/// @param sockets  in the order of ReadUdpSockets
const UdpSocket* DirectReceiver(const std::vector<UdpSocket>& sockets,
                                const boost::asio::ip::address_v4& address, int device);

} // namespace kx::tools
