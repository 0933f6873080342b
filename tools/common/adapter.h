#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// A network adapter of this machine.
struct Adapter {
    std::string name;      ///< network device name
    std::string ipAddress; ///< its first IPv4 address as dotted text; empty when it has none
    /// MAC address as "aa:bb:cc:dd:ee:ff"; all zeros, as loopback has it, for a device without one.
    std::string macAddress;
};

/// Reads the machine's adapters in the system's order, by getifaddrs(3).
///
/// Errors: std::system_error.
/// Threads: any.
std::vector<Adapter> ReadAdapters();

/// Picks adapters by name, in the order of the names; a name that is repeated counts once.
///
/// Errors: std::runtime_error when a name is no adapter's or its adapter has no IPv4 address; the
/// text lists the adapters that there are.
std::vector<Adapter> SelectAdapters(const std::vector<Adapter>& adapters,
                                    const std::vector<std::string>& names);

} // namespace kx::tools
