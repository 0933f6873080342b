#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// A network adapter of this machine.
struct Adapter {
    std::string name; ///< network device name
    /// Number of the device. One that is deleted and created again comes back with another, and
    /// sockets that were bound to the old one stay deaf.
    int index;
    std::string ipAddress; ///< its first IPv4 address as dotted text; empty when it has none
    /// MAC address as "aa:bb:cc:dd:ee:ff"; all zeros, as loopback has it, for a device without one.
    std::string macAddress;
    bool connected; ///< has an IPv4 address, is up and has a carrier
    bool loopback;
    /// RFC 2863 operational state as in IF_OPER_* of linux/if.h. A bridge without a port is
    /// connected in the state "unknown", and its first port changes nothing else.
    int operationalState;
};

/// Reads the machine's adapters in the order of their index, over rtnetlink(7).
///
/// Errors: std::runtime_error.
/// Threads: any.
std::vector<Adapter> ReadAdapters();

/// All adapters but loopback, those without an IPv4 address too.
///
/// Errors: as ReadAdapters.
std::vector<Adapter> ReadNetworkAdapters();

/// ReadNetworkAdapters for those who need an IPv4 address.
///
/// Errors: as ReadAdapters; std::runtime_error when no adapter is left.
std::vector<Adapter> ReadUsableAdapters();

/// Picks the adapters that there are by name, in the order of the names; a name that is repeated
/// counts once.
std::vector<Adapter> FindAdapters(const std::vector<Adapter>& adapters,
                                  const std::vector<std::string>& names);

/// FindAdapters for those who need every one of them with an IPv4 address.
///
/// Errors: std::runtime_error when a name is no adapter's or its adapter has no IPv4 address; the
/// text lists the adapters that there are.
std::vector<Adapter> SelectAdapters(const std::vector<Adapter>& adapters,
                                    const std::vector<std::string>& names);

} // namespace kx::tools
