#pragma once

#include <boost/asio/ip/udp.hpp>

namespace kx {

/// Returns whether a Probe from this IPv4 source may be answered. False for port 0, 0.0.0.0/8, a
/// multicast group and 255.255.255.255 (ip(7), RFC 1122 3.2.1.3). Such a source is forged, except
/// 0.0.0.0 on loopback: a client there may have it if no other adapter has an address. It gets no
/// answer either.
///
/// An answer to 0.0.0.0/8 would reach no client on a network, and an answer to a multicast group
/// would reach all its members. An answer to port 0 or to 255.255.255.255 cannot be sent: after
/// four failed attempts the endpoint would close its socket for 3 seconds or longer.
///
/// True for a subnet's broadcast address, although an answer to it cannot be sent either: the
/// address alone does not show what it is.
///
/// Thread-safe.
inline bool IsAnswerable(const boost::asio::ip::udp::endpoint& source)
{
    const boost::asio::ip::address_v4 address = source.address().to_v4();
    return source.port() != 0 && address.to_bytes()[0] != 0 && !address.is_multicast() &&
           address != boost::asio::ip::address_v4::broadcast();
}

} // namespace kx
