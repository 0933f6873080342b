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

/// Returns the MAC address that a device names in a scope "mac:..."; empty without one.
/// Thread-safe.
std::string MacOf(const Device& device);

/// Returns the host of a URI (RFC 3986 3.2.2); empty when it has none. An IPv6 address is cut off
/// at its first colon. Thread-safe.
std::string HostOf(const std::string& uri);

/// Returns whether the host of every XAddr of a device differs from the source of its message. Then
/// the device does not have the address that it advertises, is behind a NAT, or sends from another
/// of its addresses.
///
/// False if there are no XAddrs, the host of one is not an IPv4 address, or the source is 0.0.0.0,
/// as for a Hello on loopback if only loopback has an IPv4 address. Thread-safe.
bool AdvertisesOtherHost(const Device& device, const boost::asio::ip::address& source);

} // namespace kx::tools
