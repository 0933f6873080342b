#pragma once

#include <string>

namespace kx::tools {

/// A Probe (WS-Discovery (April 2005) 5.2) and the identifier that answers to it relate to.
struct ProbeMessage {
    std::string identifier; ///< text of wsa:MessageID, "urn:uuid:..."
    std::string text;       ///< the whole message
};

/// Builds a Probe for one device type.
///
/// @param uri   namespace of the type; one that is not the vendor's is declared with its own prefix
/// @param type  its name, without prefix
///
/// Errors: a broken random device ends the process, see NewUuidString.
/// Threads: any.
ProbeMessage MakeProbe(const std::string& uri, const std::string& type);

} // namespace kx::tools
