#pragma once

#include <cstdint>

/// The names in the documents exchanged with the host. pelorin/plugin.h shows the documents.
namespace kx {

/// The root of every document except the log record. Delta is 0 in all of them.
inline constexpr char kRootElement[] = "Qorm";
inline constexpr char kDeltaAttribute[] = "Delta";

/// The server and adapter document.
inline constexpr char kServersElement[] = "Servers";
inline constexpr char kServerElement[] = "Server";
inline constexpr char kPortAttribute[] = "Port";
inline constexpr std::int32_t kDefaultServerPort = 22609; ///< until a document sets another
inline constexpr char kNetworkElement[] = "Network";
inline constexpr char kAdapterElement[] = "Adapter";
inline constexpr char kMacAddressAttribute[] = "MACAddress";
inline constexpr char kHandleAttribute[] = "Handle";
inline constexpr char kIpAddressAttribute[] = "IPAddress";
inline constexpr char kUnservedAddress[] = "0.0.0.0"; ///< of an adapter that gets no endpoint
inline constexpr char kConnectedAttribute[] = "Connected";

/// The registration document.
inline constexpr char kModulesElement[] = "Modules";
inline constexpr char kModuleElement[] = "Module";
inline constexpr char kNameAttribute[] = "Name";
inline constexpr char kIdAttribute[] = "ID";
inline constexpr char kVersionAttribute[] = "Version";

/// The log record.
inline constexpr char kLogElement[] = "log_msg";
inline constexpr char kLevelAttribute[] = "level";

} // namespace kx
