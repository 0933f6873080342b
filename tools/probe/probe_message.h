#pragma once

#include "device_type.h"

#include <optional>
#include <string>

/// The messages of a client, in the form that most devices can read: XML 1.0 on one line, with all
/// namespaces declared on the envelope element, each with a prefix.
///
/// The namespace of WS-Discovery is declared before that of the device type: a recorder takes the
/// first URI that contains "/discovery" for that of WS-Discovery, and the URI of its device type
/// contains "/discovery" too.
namespace kx::tools {

/// A message of a client, and the identifier that the answers repeat in wsa:RelatesTo.
struct ClientMessage {
    std::string identifier; ///< text of wsa:MessageID, "urn:uuid:..."
    std::string text;       ///< the whole message
};

/// Builds a Probe (WS-Discovery (April 2005) 5.2).
///
/// @param sought  type to ask for; none: every device
///
/// Errors: if /dev/urandom cannot be read, the process ends, see NewUuidString.
/// Thread-safe.
ClientMessage MakeProbe(const std::optional<DeviceType>& sought);

/// Builds a Resolve, which asks one device for its XAddrs (WS-Discovery (April 2005) 6.2).
///
/// @param address  the device's wsa:Address
///
/// Errors and threads: as MakeProbe.
ClientMessage MakeResolve(const std::string& address);

} // namespace kx::tools
