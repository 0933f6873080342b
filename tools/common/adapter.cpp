#include "adapter.h"

#include "text.h"

#include <netlink/cache.h>
#include <netlink/route/addr.h>
#include <netlink/route/link.h>

#include <algorithm>
#include <arpa/inet.h>
#include <memory>
#include <net/ethernet.h>
#include <net/if.h>
#include <stdexcept>

namespace kx::tools {
namespace {

constexpr char kNoMacAddress[] = "00:00:00:00:00:00";

struct FreeNetlink {
    void operator()(nl_sock* socket) const { nl_socket_free(socket); }
    void operator()(nl_cache* cache) const { nl_cache_free(cache); }
};
using NetlinkSocket = std::unique_ptr<nl_sock, FreeNetlink>;
using NetlinkCache = std::unique_ptr<nl_cache, FreeNetlink>;

void ThrowOnError(int error)
{
    if (error < 0)
        throw std::runtime_error(Compose("cannot read the network adapters: ", nl_geterror(error)));
}

auto FindByName(const std::vector<Adapter>& adapters, const std::string& name)
{
    return std::find_if(adapters.begin(), adapters.end(),
                        [&](const Adapter& each) { return each.name == name; });
}

template <class Predicate>
void Drop(std::vector<Adapter>& adapters, const Predicate& unwanted)
{
    adapters.erase(std::remove_if(adapters.begin(), adapters.end(), unwanted), adapters.end());
}

/// Returns all zeros for a hardware address that is not a MAC address, such as that of a tunnel.
std::string MacText(nl_addr* address)
{
    char text[sizeof(kNoMacAddress)];
    return address && nl_addr_get_len(address) == ETH_ALEN
               ? nl_addr2str(address, text, sizeof(text))
               : kNoMacAddress;
}

/// Returns the IPv4 addresses of a device in the order of the kernel, primary addresses first.
std::vector<std::string> AddressesOf(nl_cache* addresses, int index)
{
    std::vector<std::string> found;
    for (nl_object* each = nl_cache_get_first(addresses); each; each = nl_cache_get_next(each)) {
        auto* entry = reinterpret_cast<rtnl_addr*>(each);
        if (rtnl_addr_get_ifindex(entry) != index || rtnl_addr_get_family(entry) != AF_INET)
            continue;
        char text[INET_ADDRSTRLEN] = "";
        inet_ntop(AF_INET, nl_addr_get_binary_addr(rtnl_addr_get_local(entry)), text, sizeof(text));
        found.emplace_back(text);
    }
    return found;
}

std::string ListAdapters(const std::vector<Adapter>& adapters)
{
    std::string list;
    for (const Adapter& each : adapters) {
        list += list.empty() ? "" : ", ";
        list += each.name + " (" + (each.ipAddress.empty() ? "no IPv4" : each.ipAddress) + ")";
    }
    return list.empty() ? "none" : list;
}

} // namespace

std::vector<Adapter> ReadAdapters()
{
    const NetlinkSocket socket(nl_socket_alloc());
    if (!socket)
        throw std::bad_alloc();
    ThrowOnError(nl_connect(socket.get(), NETLINK_ROUTE));
    nl_cache* cache = nullptr;
    ThrowOnError(rtnl_link_alloc_cache(socket.get(), AF_UNSPEC, &cache));
    const NetlinkCache links(cache);
    ThrowOnError(rtnl_addr_alloc_cache(socket.get(), &cache));
    const NetlinkCache addresses(cache);

    std::vector<Adapter> adapters;
    for (nl_object* each = nl_cache_get_first(links.get()); each; each = nl_cache_get_next(each)) {
        auto* link = reinterpret_cast<rtnl_link*>(each);
        const int index = rtnl_link_get_ifindex(link);
        const std::vector<std::string> found = AddressesOf(addresses.get(), index);
        const std::string address = found.empty() ? "" : found.front();
        const unsigned flags = rtnl_link_get_flags(link);
        // The kernel sets IFF_RUNNING in the operational states "up" and "unknown": the device has
        // a carrier or cannot detect one.
        const bool connected = !address.empty() && (flags & IFF_UP) && (flags & IFF_RUNNING);
        adapters.push_back(
            {rtnl_link_get_name(link), index, address, MacText(rtnl_link_get_addr(link)), connected,
             (flags & IFF_LOOPBACK) != 0, rtnl_link_get_operstate(link), flags, found});
    }
    std::sort(adapters.begin(), adapters.end(),
              [](const Adapter& left, const Adapter& right) { return left.index < right.index; });
    return adapters;
}

std::vector<Adapter> ReadNetworkAdapters()
{
    std::vector<Adapter> adapters = ReadAdapters();
    Drop(adapters, [](const Adapter& each) { return each.loopback; });
    return adapters;
}

std::vector<Adapter> ReadUsableAdapters()
{
    std::vector<Adapter> adapters = ReadNetworkAdapters();
    Drop(adapters, [](const Adapter& each) { return each.ipAddress.empty(); });
    if (adapters.empty()) {
        throw std::runtime_error(
            "no adapter but loopback has an IPv4 address; --adapter lo takes loopback");
    }
    return adapters;
}

std::vector<Adapter> FindAdapters(const std::vector<Adapter>& adapters,
                                  const std::vector<std::string>& names)
{
    std::vector<Adapter> found;
    for (const std::string& name : names) {
        const auto adapter = FindByName(adapters, name);
        if (adapter != adapters.end() && FindByName(found, name) == found.end())
            found.push_back(*adapter);
    }
    return found;
}

std::vector<Adapter> SelectAdapters(const std::vector<Adapter>& adapters,
                                    const std::vector<std::string>& names)
{
    for (const std::string& name : names) {
        const auto found = FindByName(adapters, name);
        if (found == adapters.end() || found->ipAddress.empty()) {
            throw std::runtime_error(Compose(
                found == adapters.end() ? "there is no adapter " : "no IPv4 address on adapter ",
                name, "; --adapter takes one of: ", ListAdapters(adapters)));
        }
    }
    return FindAdapters(adapters, names);
}

} // namespace kx::tools
