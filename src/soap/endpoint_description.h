#pragma once

#include <string>
#include <vector>

namespace kx {

/// What one discovery endpoint advertises about its recorder.
struct EndpointDescription {
    /// Text of wsa:Address, the same for all endpoints of a run, up to its first NUL: NewUuidString
    /// puts one at the end.
    std::string address;
    /// MAC address of the adapter, advertised as the only scope, "mac:...". Never empty in a run.
    std::string mac;
    /// Device type names, each advertised in the vendor's namespace.
    std::vector<std::string> types;
    /// Text of wsd:XAddrs, the recorder's transport address.
    std::string xaddrs;
    /// Scope texts, advertised only by Hello and only when `mac` is empty.
    std::vector<std::string> scopes;
};

} // namespace kx
