#include "kernel_state.h"

#include "netlink.h"
#include "text.h"

#include <netlink/attr.h>
#include <netlink/route/route.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <linux/rtnetlink.h>
#include <sstream>
#include <stdexcept>

using boost::asio::ip::address_v4;

namespace kx::tools {

std::map<std::string, int> ReadGroupMembers(const address_v4& group)
{
    // The file has a line for each device, such as "2 eth0 : 1 V3" (no space follows a long name),
    // and below it one for each of the device's groups: tabs, the group's address as a native
    // integer in hexadecimal, and the number of sockets.
    constexpr char kFile[] = "/proc/net/igmp";
    std::ifstream file(kFile);
    if (!file)
        throw std::runtime_error(Compose("cannot read ", kFile, ": ", std::strerror(errno)));
    std::map<std::string, int> members;
    std::string device;
    for (std::string line; std::getline(file, line);) {
        std::istringstream words(line);
        std::string first;
        words >> first;
        if (line.front() != '\t') {
            words >> device;
            device = device.substr(0, device.find(':')); // no name contains a colon
            continue;
        }
        const auto number = static_cast<std::uint32_t>(std::strtoul(first.c_str(), nullptr, 16));
        address_v4::bytes_type bytes;
        std::memcpy(bytes.data(), &number, bytes.size());
        int count = 0;
        if (address_v4(bytes) == group && words >> count && count > 0)
            members[device] = count;
    }
    return members;
}

std::uint64_t ReadReversePathDrops()
{
    // Each protocol has two lines: the names of its counters, then their values.
    std::ifstream file("/proc/net/netstat");
    for (std::string names, values; std::getline(file, names) && std::getline(file, values);) {
        std::istringstream nameWords(names);
        std::istringstream valueWords(values);
        for (std::string name, value; nameWords >> name && valueWords >> value;) {
            if (name == "IPReversePathFilter")
                return std::strtoull(value.c_str(), nullptr, 10);
        }
    }
    return 0;
}

int RouteTo(const address_v4& address)
{
    rtmsg content{};
    content.rtm_family = AF_INET;
    content.rtm_dst_len = 32;
    const NetlinkMessage request = MakeNetlinkMessage(RTM_GETROUTE, NLM_F_REQUEST);
    const address_v4::bytes_type bytes = address.to_bytes();
    int device = 0;
    if (nlmsg_append(request.get(), &content, sizeof(content), NLMSG_ALIGNTO) < 0 ||
        nla_put(request.get(), RTA_DST, static_cast<int>(bytes.size()), bytes.data()) < 0)
        return 0;
    AskKernel(NETLINK_ROUTE, request.get(), [&](nlmsghdr* header) {
        rtnl_route* route = nullptr;
        if (rtnl_route_parse(header, &route) < 0)
            return;
        if (rtnl_nexthop* hop = rtnl_route_nexthop_n(route, 0))
            device = rtnl_route_nh_get_ifindex(hop);
        rtnl_route_put(route);
    });
    return device;
}

std::string ReadSetting(const std::string& name)
{
    std::ifstream file("/proc/sys/" + name);
    std::string value;
    std::getline(file, value);
    return value;
}

} // namespace kx::tools
