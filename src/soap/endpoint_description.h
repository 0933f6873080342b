#pragma once

#include <string>
#include <vector>

namespace kx {

/// What one discovery endpoint advertises about its recorder.
struct EndpointDescription {
    /// Text of wsa:Address, the same for all endpoints of a run. In the plug-in it comes from
    /// NewUuidString, so its last character is a NUL. Messages contain only the text before it.
    std::string address;
    /// MAC address of the adapter, advertised as the only scope, "mac:...". In the plug-in never
    /// empty, because an adapter without MAC address is left out.
    std::string mac;
    /// Device type names, each advertised in the vendor's namespace.
    std::vector<std::string> types;
    /// Text of wsd:XAddrs, the recorder's transport address.
    std::string xaddrs;
    /// Scope texts, advertised only in a Hello, and only if `mac` is empty.
    std::vector<std::string> scopes;
};

} // namespace kx
