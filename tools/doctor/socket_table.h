#pragma once

#include <boost/asio/ip/address_v4.hpp>

#include <cstdint>
#include <vector>

namespace kx::tools {

/// A UDP socket of this machine that can receive over IPv4.
struct UdpSocket {
    boost::asio::ip::address_v4 address; ///< that it is bound to; 0.0.0.0 for none
    int device;                          ///< index of the device that it is bound to; 0 for none
    bool ipv6;                           ///< an IPv6 socket that receives IPv4 as well
    std::uint32_t user;                  ///< number of the user who created it
    std::uint32_t inode;                 ///< number by which /proc/PID/fd names it
    std::uint32_t receiveBuffer;         ///< bytes, twice the SO_RCVBUF that was set: socket(7)
    std::uint32_t dropCount;             ///< datagrams lost so far, usually by a full buffer
};

/// Reads over sock_diag(7) the unconnected UDP sockets that are bound to a port and can receive
/// over IPv4. IPv4 sockets come before IPv6 sockets; each kind is in reverse order of binding.
///
/// Errors: std::runtime_error.
/// Thread-safe.
std::vector<UdpSocket> ReadUdpSockets(std::uint16_t port);

/// Returns the socket that receives a datagram that arrives on a device for an address of this
/// machine; null when none does.
///
/// The kernel prefers a socket bound to the address, then one bound to the device, then an IPv4
/// socket, then the one bound last.
///
/// @param sockets  in the order of ReadUdpSockets; the result points into it
const UdpSocket* DirectReceiver(const std::vector<UdpSocket>& sockets,
                                const boost::asio::ip::address_v4& address, int device);

} // namespace kx::tools
