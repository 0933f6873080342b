#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// A network adapter of this machine.
struct Adapter {
    std::string name; ///< network device name
    /// Interface index. A device that is created again under its name usually has another one, and
    /// needs new sockets: the old ones are tied to the deleted device.
    int index;
    std::string ipAddress;  ///< first IPv4 address; empty without one
    std::string macAddress; ///< as "aa:bb:cc:dd:ee:ff"; all zeros without one
    bool connected;         ///< has an IPv4 address, is up, and has a carrier or cannot detect one
    bool loopback;
    /// RFC 2863 operational state, an IF_OPER_* value of linux/if.h. When it changes, pelorin-probe
    /// --watch asks again. `connected` would not show that a bridge got its first port: it is true
    /// before (state "unknown") and after ("up").
    int operationalState;
    unsigned flags = 0;                      ///< the IFF_* flags of netdevice(7)
    std::vector<std::string> addresses = {}; ///< all IPv4 addresses, ipAddress first
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

/// Returns the adapters with these names, each once, in the order of the names. Unknown names are
/// ignored.
std::vector<Adapter> FindAdapters(const std::vector<Adapter>& adapters,
                                  const std::vector<std::string>& names);

/// Returns the same as FindAdapters, but requires an adapter with an IPv4 address for each name.
///
/// Errors: std::runtime_error when a name has none; its text lists `adapters`.
std::vector<Adapter> SelectAdapters(const std::vector<Adapter>& adapters,
                                    const std::vector<std::string>& names);

} // namespace kx::tools
