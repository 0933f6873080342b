#pragma once

#include <string>
#include <vector>

namespace kx {

/// What one discovery endpoint advertises about its recorder. The message builders only read it.
struct EndpointDescription {
    /// Text of wsa:Address, the same for all endpoints of a run. A NUL and what follows it are not
    /// part of the text (NewUuidString puts one at the end).
    std::string address;
    /// MAC address of the adapter; when not empty it is advertised as the one scope "mac:...".
    std::string mac;
    /// Device type names, each advertised in the vendor's namespace.
    std::vector<std::string> types;
    /// Text of wsd:XAddrs: where the recorder serves.
    std::string xaddrs;
    /// Scope texts, advertised by Hello alone and only when `mac` is empty.
    std::vector<std::string> scopes;
};

} // namespace kx
