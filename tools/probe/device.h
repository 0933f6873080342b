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
    /// Expanded names, see ExpandedName, because prefixes differ by message.
    std::vector<std::string> types;
    std::vector<std::string> scopes;
    std::vector<std::string> xaddrs; ///< where it serves
    std::optional<std::uint64_t> metadataVersion;
};

/// Returns the MAC address in the scope "mac:..." of a device; empty without one. Thread-safe.
std::string MacOf(const Device& device);

/// Returns the host of a URI (RFC 3986 3.2.2); empty when it has none. Thread-safe.
std::string HostOf(const std::string& uri);

/// Returns whether the device advertises only addresses that it did not answer from, because it
/// does not have them or is behind a NAT.
///
/// False if they cannot be compared: no XAddrs, host names, IPv6 addresses, or a source of 0.0.0.0,
/// from which a recorder on loopback sends its Hello. Thread-safe.
bool AdvertisesOtherHost(const Device& device, const boost::asio::ip::address& source);

} // namespace kx::tools
