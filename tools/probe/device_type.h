#pragma once

#include "device.h"

#include <string>

namespace kx::tools {

/// A device type: a qualified name (WS-Discovery (April 2005) 5.1).
struct DeviceType {
    /// Prefix on the wire. XML lets the sender choose it, but some devices compare the text.
    std::string prefix;
    std::string uri;  ///< namespace
    std::string name; ///< local name
};

/// Returns the type of recorders. Thread-safe.
DeviceType RecorderType();

/// Reads a device type as a user gives it: "Name", "prefix:Name" or "{URI}Name".
///
/// @param uri  namespace of the name. When empty, a well-known prefix selects the namespace, and a
///             name without a prefix is in that of the recorders.
///
/// Errors: std::runtime_error, with a text for the user.
/// Thread-safe.
DeviceType ParseDeviceType(const std::string& text, const std::string& uri);

/// Returns whether the device has the type, by namespace and local name. Thread-safe.
bool HasType(const Device& device, const DeviceType& type);

/// Shortens an expanded name to "prefix:Name" where its namespace has a well-known prefix.
/// Thread-safe.
std::string ShortTypeName(const std::string& expandedName);

} // namespace kx::tools
