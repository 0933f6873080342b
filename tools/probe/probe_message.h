#pragma once

#include "device_type.h"

#include <optional>
#include <string>

/// The messages of a client, in the form that most devices can read: XML 1.0 on one line, each
/// namespace declared by a prefix on the envelope. WS-Discovery's namespace precedes that of the
/// device type: recorders take the first one that contains "/discovery", and their own does, too.
namespace kx::tools {

/// A message of a client and the identifier that answers relate to.
struct ClientMessage {
    std::string identifier; ///< text of wsa:MessageID, "urn:uuid:..."
    std::string text;       ///< the whole message
};

/// Builds a Probe (WS-Discovery (April 2005) 5.2).
///
/// @param sought  type to ask for; none: every device is asked
///
/// Errors: a random device that fails ends the process, see NewUuidString.
/// Thread-safe.
ClientMessage MakeProbe(const std::optional<DeviceType>& sought);

/// Builds a Resolve, which asks where a device serves (WS-Discovery (April 2005) 6.2).
///
/// @param address  text of the wsa:Address of the device
///
/// Errors and threads: as MakeProbe.
ClientMessage MakeResolve(const std::string& address);

} // namespace kx::tools
