#pragma once

#include "device.h"

#include <string>

namespace kx::tools {

/// A device type: a name in a namespace (WS-Discovery (April 2005) 5.1).
struct DeviceType {
    /// Prefix of the name in our Probe. Some devices answer only the prefix that they expect.
    std::string prefix;
    std::string uri;  ///< namespace
    std::string name; ///< local name
};

/// Returns the type of recorders. Thread-safe.
DeviceType RecorderType();

/// Reads a device type as a user gives it: "Name", "prefix:Name" or "{URI}Name".
///
/// @param uri  namespace of the name; must be empty with "{URI}Name". If it is empty, "prefix:Name"
///             needs a well-known prefix, which selects the namespace, and "Name" is in the
///             namespace of the recorders' type.
///
/// Errors: std::runtime_error, with a text for the user.
/// Thread-safe.
DeviceType ParseDeviceType(const std::string& text, const std::string& uri);

/// Returns whether a device is of this type; prefixes do not matter. Thread-safe.
bool HasType(const Device& device, const DeviceType& type);

/// Shortens an expanded name, "{uri}Name", to "prefix:Name" if its namespace has a well-known
/// prefix; otherwise returns it unchanged. Thread-safe.
std::string ShortTypeName(const std::string& expandedName);

} // namespace kx::tools
