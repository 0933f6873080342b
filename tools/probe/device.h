#pragma once

#include <boost/asio/ip/address.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// What a message says about a device; what it leaves out is empty.
struct Device {
    std::string address; ///< wsa:Address of its endpoint reference, which identifies the device
    std::vector<std::string>
        types; ///< expanded names, see ExpandedName: prefixes differ by message
    std::vector<std::string> scopes;
    std::vector<std::string> xaddrs; ///< where it serves
    std::optional<std::uint64_t> metadataVersion;
};

/// Returns what the scope "mac:..." of a device says; empty without one. Thread-safe.
std::string MacOf(const Device& device);

/// Returns the host of a URI (RFC 3986 3.2.2); empty when it has none. Thread-safe.
std::string HostOf(const std::string& uri);

/// Whether the device advertises an address that is not the one it answered from: one that it does
/// not have, or has behind a NAT.
///
/// False is returned where the two cannot be compared: no XAddrs, host names, IPv6 addresses, and a
/// source of 0.0.0.0, from which a recorder on loopback sends its Hello. One fitting address of
/// several is enough. Thread-safe.
bool AdvertisesOtherHost(const Device& device, const boost::asio::ip::address& source);

} // namespace kx::tools
