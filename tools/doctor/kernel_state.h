#pragma once

#include <boost/asio/ip/address_v4.hpp>

#include <cstdint>
#include <map>
#include <string>

/// The kernel's state of multicast groups, routes and reverse-path filtering. Thread-safe.
namespace kx::tools {

/// Returns how many sockets have joined a multicast group, by the name of the device; devices
/// without any are left out. From /proc/net/igmp.
std::map<std::string, int> ReadGroupMembers(const boost::asio::ip::address_v4& group);

/// Returns how many datagrams reverse-path filtering has dropped: TcpExt IPReversePathFilter of
/// /proc/net/netstat, for all adapters together. It does not count what a firewall drops.
std::uint64_t ReadReversePathDrops();

/// Returns the index of the device by which a datagram to the address leaves, over rtnetlink(7); 0
/// without a route.
int RouteTo(const boost::asio::ip::address_v4& address);

/// Returns a value of /proc/sys, such as "net/core/rmem_max"; empty if the kernel hides it.
std::string ReadSetting(const std::string& name);

} // namespace kx::tools
