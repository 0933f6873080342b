#pragma once

#include <cstdint>

namespace kx {

// UDP port and IPv4 multicast group of WS-Discovery (April 2005) 2.4.
inline constexpr std::uint16_t kDiscoveryPort = 3702;
inline constexpr char kMulticastGroup[] = "239.255.255.250";

/// Hops that a message to the group may travel (IP_MULTICAST_TTL of ip(7)). The tools use the same
/// number, so that their Probe travels as far as a recorder's Hello.
inline constexpr int kMulticastTtl = 32;

} // namespace kx
