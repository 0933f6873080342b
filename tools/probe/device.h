#pragma once

#include <string>
#include <vector>

namespace kx::tools {

/// What a message says of a device; what it does not say is empty.
struct Device {
    std::string address; ///< wsa:Address of its endpoint reference, which names it on the network
    std::vector<std::string> types; ///< see ExpandedName: prefixes differ from message to message
    std::vector<std::string> scopes;
    std::vector<std::string> xaddrs; ///< where it serves
};

/// What the scope "mac:..." of a device says; empty without one. Threads: any.
inline std::string MacOf(const Device& device)
{
    const std::string prefix = "mac:";
    for (const std::string& scope : device.scopes) {
        if (scope.compare(0, prefix.size(), prefix) == 0)
            return scope.substr(prefix.size());
    }
    return "";
}

} // namespace kx::tools
