#include "device_type.h"

#include "namespaces.h"
#include "text.h"
#include "uris.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace kx::tools {
namespace {

struct KnownPrefix {
    const char* prefix;
    const char* uri;
};

/// The well-known prefixes: of recorders (ktz), cameras (dn, tds), any device of the Devices
/// Profile for Web Services (wsdp), computers (pub), printers (wprt) and scanners (wscn).
constexpr KnownPrefix kKnownPrefixes[] = {
    {"ktz", kVendorDiscoveryUri},
    {"dn", "http://www.onvif.org/ver10/network/wsdl"},
    {"tds", "http://www.onvif.org/ver10/device/wsdl"},
    {"wsdp", "http://schemas.xmlsoap.org/ws/2006/02/devprof"},
    {"pub", "http://schemas.microsoft.com/windows/pub/2005/07"},
    {"wprt", "http://schemas.microsoft.com/windows/2006/08/wdp/print"},
    {"wscn", "http://schemas.microsoft.com/windows/2006/08/wdp/scan"},
};

/// Prefix in our Probe if the user gives none and the namespace has no well-known one.
constexpr char kOtherPrefix[] = "t";

/// Not accepted in a prefix or local name. XML forbids more characters; these would break the
/// message, its list of types or, the braces, the form "{URI}Name" in which users give a type.
constexpr char kNotInName[] = ": \t\r\n<>&\"'{}=/";

std::string UriOf(const std::string& prefix)
{
    std::string prefixes;
    for (const KnownPrefix& each : kKnownPrefixes) {
        if (prefix == each.prefix)
            return each.uri;
        prefixes += prefixes.empty() ? "" : ", ";
        prefixes += each.prefix;
    }
    throw std::runtime_error(Compose("no namespace is known for the prefix ", prefix,
                                     "; give one with --namespace, or use one of: ", prefixes));
}

std::string PrefixOf(const std::string& uri)
{
    for (const KnownPrefix& each : kKnownPrefixes) {
        if (uri == each.uri)
            return each.prefix;
    }
    return kOtherPrefix;
}

void CheckName(const std::string& name, const std::string& text)
{
    if (name.empty() || name.find_first_of(kNotInName) != std::string::npos)
        throw std::runtime_error("invalid device type: '" + text + "'");
}

} // namespace

DeviceType RecorderType()
{
    return {PrefixOf(kVendorDiscoveryUri), kVendorDiscoveryUri, kDeviceType};
}

DeviceType ParseDeviceType(const std::string& text, const std::string& uri)
{
    DeviceType type{"", uri, text};
    const auto brace = text.find('}');
    if (!text.empty() && text[0] == '{' && brace != std::string::npos) {
        if (!uri.empty())
            throw std::runtime_error("give the namespace in --type or in --namespace, not in both");
        type.uri = text.substr(1, brace - 1);
        type.name = text.substr(brace + 1);
    } else if (const auto colon = text.find(':'); colon != std::string::npos) {
        type.prefix = text.substr(0, colon);
        type.name = text.substr(colon + 1);
        CheckName(type.prefix, text);
        if (uri.empty())
            type.uri = UriOf(type.prefix);
    } else if (uri.empty()) {
        type.uri = kVendorDiscoveryUri;
    }
    CheckName(type.name, text);
    if (type.uri.empty() || type.uri.find_first_of(" \t\r\n") != std::string::npos)
        throw std::runtime_error("invalid namespace: '" + type.uri + "'");
    if (type.prefix.empty())
        type.prefix = PrefixOf(type.uri);
    return type;
}

bool HasType(const Device& device, const DeviceType& type)
{
    const std::string sought = ExpandedName(type.uri, type.name);
    return std::find(device.types.begin(), device.types.end(), sought) != device.types.end();
}

std::string ShortTypeName(const std::string& expandedName)
{
    for (const KnownPrefix& each : kKnownPrefixes) {
        const std::string start = ExpandedName(each.uri, "");
        if (expandedName.compare(0, start.size(), start) == 0)
            return Compose(each.prefix, ":", expandedName.substr(start.size()));
    }
    return expandedName;
}

} // namespace kx::tools
