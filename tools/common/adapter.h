#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// A network adapter of this machine.
struct Adapter {
    std::string name; ///< network device name
    /// Number of the device. A device that is deleted and created again usually gets another
    /// number, and sockets that were bound to the old device receive nothing.
    int index;
    std::string ipAddress; ///< its first IPv4 address as dotted text; empty without one
    /// MAC address as "aa:bb:cc:dd:ee:ff"; all zeros for a device without one, such as loopback.
    std::string macAddress;
    bool connected; ///< has an IPv4 address, is up and has a carrier
    bool loopback;
    /// RFC 2863 operational state, an IF_OPER_* value of linux/if.h. When a bridge gets its first
    /// port, nothing else changes: without a port it is `connected`, but in the state "unknown".
    int operationalState;
    unsigned flags = 0;                      ///< IFF_UP and the others of netdevice(7)
    std::vector<std::string> addresses = {}; ///< all its IPv4 addresses, the first one first
};

/// Reads the machine's adapters in the order of their index, over rtnetlink(7).
///
/// Errors: std::runtime_error.
/// Thread-safe.
std::vector<Adapter> ReadAdapters();

/// Reads all adapters except loopback, including those without an IPv4 address.
///
/// Errors: as ReadAdapters.
std::vector<Adapter> ReadNetworkAdapters();

/// Reads the adapters that have an IPv4 address, except loopback.
///
/// Errors: as ReadAdapters; std::runtime_error when there are none.
std::vector<Adapter> ReadUsableAdapters();

/// Returns the adapters with these names, each once, in the order of the names. A name that no
/// adapter has is ignored.
std::vector<Adapter> FindAdapters(const std::vector<Adapter>& adapters,
                                  const std::vector<std::string>& names);

/// As FindAdapters, but every name needs an adapter with an IPv4 address.
///
/// Errors: std::runtime_error when one has none; the text lists the adapters of the machine.
std::vector<Adapter> SelectAdapters(const std::vector<Adapter>& adapters,
                                    const std::vector<std::string>& names);

} // namespace kx::tools
