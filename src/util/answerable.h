#pragma once

#include <boost/asio/ip/udp.hpp>

namespace kx {

/// Returns whether an answer to this IPv4 source can reach its sender: not on port 0, in 0.0.0.0/8,
/// in a group or at the broadcast address (ip(7), RFC 1122 3.2.1.3). Some of these sends fail, and
/// then one forged Probe would close the endpoint for a whole back-off; an answer to a group would
/// reach all its members. Thread-safe.
inline bool IsAnswerable(const boost::asio::ip::udp::endpoint& source)
{
    const boost::asio::ip::address_v4 address = source.address().to_v4();
    return source.port() != 0 && address.to_bytes()[0] != 0 && !address.is_multicast() &&
           address != boost::asio::ip::address_v4::broadcast();
}

} // namespace kx
