#pragma once

#include <cstdint>

/// Elements, attributes and special values of the XML documents that host and plug-in exchange.
/// pelorin/plugin.h shows each document.
namespace kx {

// The root element of every document except the log record. Its attribute Delta is always 0: the
// plug-in ignores a document with another value or none.
inline constexpr char kRootElement[] = "Qorm";
inline constexpr char kDeltaAttribute[] = "Delta";

// The server and adapter document.
inline constexpr char kServersElement[] = "Servers";
inline constexpr char kServerElement[] = "Server";
inline constexpr char kPortAttribute[] = "Port";
inline constexpr std::int32_t kDefaultServerPort = 22609; ///< used until a document gives a port
inline constexpr char kNetworkElement[] = "Network";
inline constexpr char kAdapterElement[] = "Adapter";
inline constexpr char kMacAddressAttribute[] = "MACAddress";
inline constexpr char kHandleAttribute[] = "Handle";
inline constexpr char kIpAddressAttribute[] = "IPAddress";
/// An adapter with this IPAddress gets no discovery endpoint.
inline constexpr char kUnservedAddress[] = "0.0.0.0";
inline constexpr char kConnectedAttribute[] = "Connected";

// The registration document.
inline constexpr char kModulesElement[] = "Modules";
inline constexpr char kModuleElement[] = "Module";
inline constexpr char kNameAttribute[] = "Name";
inline constexpr char kIdAttribute[] = "ID";
inline constexpr char kVersionAttribute[] = "Version";

// The log record.
inline constexpr char kLogElement[] = "log_msg";
inline constexpr char kLevelAttribute[] = "level";

} // namespace kx
