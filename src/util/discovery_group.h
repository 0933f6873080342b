#pragma once

#include <cstdint>

namespace kx {

/// Port and IPv4 group of WS-Discovery (April 2005) 2.4.
inline constexpr std::uint16_t kDiscoveryPort = 3702;
inline constexpr char kMulticastGroup[] = "239.255.255.250";

/// Hops of a message to the group, IP_MULTICAST_TTL of ip(7). Recorders and our clients use the
/// same, so that a Probe reaches as far as a Hello.
inline constexpr int kMulticastTtl = 32;

} // namespace kx
