#pragma once

#include <boost/asio/ip/address.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// A device as a message describes it. Fields that the message leaves out are empty.
struct Device {
    std::string address; ///< wsa:Address of its endpoint reference, which identifies the device
    /// Expanded names (see ExpandedName), because each message chooses its own prefixes.
    std::vector<std::string> types;
    std::vector<std::string> scopes;
    std::vector<std::string> xaddrs; ///< URIs at which the device serves
    std::optional<std::uint64_t> metadataVersion;
};

/// Returns the MAC address that a device names in a scope "mac:..."; empty when it names none.
/// Thread-safe.
std::string MacOf(const Device& device);

/// Returns the host of a URI (RFC 3986 3.2.2); empty when it has none. An IPv6 address is cut off
/// at its first colon. Thread-safe.
std::string HostOf(const std::string& uri);

/// Returns whether every XAddr of a device has another host than the source of its message. The
/// device then does not have the address that it advertises, or is behind a NAT.
///
/// False if they cannot be compared: there are no XAddrs, one has a host name or an IPv6 address,
/// or the source is 0.0.0.0, from which a recorder on loopback sends its Hello. Thread-safe.
bool AdvertisesOtherHost(const Device& device, const boost::asio::ip::address& source);

} // namespace kx::tools
