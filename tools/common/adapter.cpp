#include "adapter.h"

#include "text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cerrno>
#include <cstdio>
#include <ifaddrs.h>
#include <memory>
#include <net/ethernet.h>
#include <netinet/in.h>
#include <netpacket/packet.h>
#include <stdexcept>
#include <system_error>

namespace kx::tools {
namespace {

constexpr char kNoMacAddress[] = "00:00:00:00:00:00";

struct FreeInterfaces {
    void operator()(ifaddrs* list) const { freeifaddrs(list); }
};

template <class Adapters>
auto FindByName(Adapters& adapters, const std::string& name)
{
    return std::find_if(adapters.begin(), adapters.end(),
                        [&](const Adapter& each) { return each.name == name; });
}

/// The device of an entry: an address may carry a label, "eth0:1", and no device has a colon.
std::string DeviceName(const ifaddrs& entry)
{
    const std::string name = entry.ifa_name;
    return name.substr(0, name.find(':'));
}

std::string AddressText(const sockaddr* address)
{
    char text[INET_ADDRSTRLEN] = "";
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in*>(address)->sin_addr, text,
              sizeof(text));
    return text;
}

/// Text of a packet(7) address. What is not six bytes long, as with tunnels, is no MAC address.
std::string MacText(const sockaddr* address)
{
    const auto& link = *reinterpret_cast<const sockaddr_ll*>(address);
    if (link.sll_halen != ETH_ALEN)
        return kNoMacAddress;
    const unsigned char* byte = link.sll_addr;
    char text[sizeof(kNoMacAddress)];
    std::snprintf(text, sizeof(text), "%02x:%02x:%02x:%02x:%02x:%02x", byte[0], byte[1], byte[2],
                  byte[3], byte[4], byte[5]);
    return text;
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
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        throw std::system_error(errno, std::generic_category(), "cannot read the network adapters");
    }
    const std::unique_ptr<ifaddrs, FreeInterfaces> owner(list);

    std::vector<Adapter> adapters;
    for (const ifaddrs* each = list; each; each = each->ifa_next) {
        if (!each->ifa_addr)
            continue;
        const std::string name = DeviceName(*each);
        auto adapter = FindByName(adapters, name);
        if (adapter == adapters.end())
            adapter = adapters.insert(adapter, Adapter{name, "", kNoMacAddress});

        if (each->ifa_addr->sa_family == AF_PACKET)
            adapter->macAddress = MacText(each->ifa_addr);
        else if (each->ifa_addr->sa_family == AF_INET && adapter->ipAddress.empty())
            adapter->ipAddress = AddressText(each->ifa_addr);
    }
    return adapters;
}

std::vector<Adapter> SelectAdapters(const std::vector<Adapter>& adapters,
                                    const std::vector<std::string>& names)
{
    std::vector<Adapter> selected;
    for (const std::string& name : names) {
        if (FindByName(selected, name) != selected.end())
            continue;
        const auto found = FindByName(adapters, name);
        if (found == adapters.end() || found->ipAddress.empty()) {
            throw std::runtime_error(Compose(
                found == adapters.end() ? "there is no adapter " : "no IPv4 address on adapter ",
                name, "; name another with --adapter: ", ListAdapters(adapters)));
        }
        selected.push_back(*found);
    }
    return selected;
}

} // namespace kx::tools
