#include "device.h"

#include "uris.h"

#include <boost/asio/ip/address_v4.hpp>

#include <algorithm>

namespace kx::tools {

std::string HostOf(const std::string& uri)
{
    const std::string mark = "://";
    const auto scheme = uri.find(mark);
    if (scheme == std::string::npos)
        return "";
    std::string authority = uri.substr(scheme + mark.size());
    authority = authority.substr(0, authority.find_first_of("/?#"));
    authority = authority.substr(authority.rfind('@') + 1);
    return authority.substr(0, authority.find(':'));
}

std::string MacOf(const Device& device)
{
    const std::string prefix = kMacScopePrefix;
    for (const std::string& scope : device.scopes) {
        if (scope.compare(0, prefix.size(), prefix) == 0)
            return scope.substr(prefix.size());
    }
    return "";
}

bool AdvertisesOtherHost(const Device& device, const boost::asio::ip::address& source)
{
    const auto isOther = [&](const std::string& xaddr) {
        boost::system::error_code error;
        const auto host = boost::asio::ip::make_address_v4(HostOf(xaddr), error);
        return !error && host != source;
    };
    return !source.is_unspecified() && !device.xaddrs.empty() &&
           std::all_of(device.xaddrs.begin(), device.xaddrs.end(), isOther);
}

} // namespace kx::tools
