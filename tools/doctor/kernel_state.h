#pragma once

#include <boost/asio/ip/address_v4.hpp>

#include <cstdint>
#include <map>
#include <string>

/// Functions that read the kernel's state. All are thread-safe.
namespace kx::tools {

/// Reads from /proc/net/igmp how many sockets have joined a multicast group on each device.
///
/// @return the numbers above 0, by device name
///
/// Errors: std::runtime_error when the file cannot be read, as in some containers.
std::map<std::string, int> ReadGroupMembers(const boost::asio::ip::address_v4& group);

/// Reads how many datagrams reverse-path filtering has dropped so far on all adapters: TcpExt
/// IPReversePathFilter of /proc/net/netstat. What a firewall drops does not count.
std::uint64_t ReadReversePathDrops();

/// Asks the kernel over rtnetlink(7) for the route to an address.
///
/// @return the index of the route's device; 0 if there is no route
int RouteTo(const boost::asio::ip::address_v4& address);

/// Reads a setting of the kernel.
///
/// @param name  its path under /proc/sys, such as "net/core/rmem_max"
/// @return empty if the file does not exist, as for some settings in a network namespace other than
///         the first
std::string ReadSetting(const std::string& name);

} // namespace kx::tools
