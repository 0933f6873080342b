#pragma once

#include <boost/asio/ip/udp.hpp>

namespace kx {

/// Returns whether a Probe from this IPv4 source may be answered: not from port 0, 0.0.0.0/8, a
/// multicast group or the broadcast address (ip(7), RFC 1122 3.2.1.3). An answer to a group would
/// reach all its members; sends to some of the others fail, and one forged Probe would close the
/// endpoint until its next restart. Thread-safe.
inline bool IsAnswerable(const boost::asio::ip::udp::endpoint& source)
{
    const boost::asio::ip::address_v4 address = source.address().to_v4();
    return source.port() != 0 && address.to_bytes()[0] != 0 && !address.is_multicast() &&
           address != boost::asio::ip::address_v4::broadcast();
}

} // namespace kx
