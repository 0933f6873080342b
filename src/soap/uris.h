#pragma once

/// The URIs of SOAP 1.2, WS-Addressing (August 2004), WS-Discovery (April 2005) and the vendor, and
/// the names by which a recorder advertises itself.
namespace kx {

inline constexpr char kSoapEnvelopeUri[] = "http://www.w3.org/2003/05/soap-envelope";
inline constexpr char kAddressingUri[] = "http://schemas.xmlsoap.org/ws/2004/08/addressing";
inline constexpr char kDiscoveryUri[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery";
inline constexpr char kVendorDiscoveryUri[] = "http://schemas.ktzkx.example/discovery";

/// The device type of a recorder; its namespace is kVendorDiscoveryUri.
inline constexpr char kDeviceType[] = "NetworkVideoRecorder";
/// The device types, without prefix. A recorder advertises them and answers Probes for them.
inline constexpr const char* kDeviceTypes[] = {kDeviceType};
/// Begins the scope that contains the MAC address of the recorder's adapter.
inline constexpr char kMacScopePrefix[] = "mac:";

inline constexpr char kHelloAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Hello";
inline constexpr char kByeAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Bye";
inline constexpr char kProbeAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Probe";
inline constexpr char kProbeMatchesAction[] =
    "http://schemas.xmlsoap.org/ws/2005/04/discovery/ProbeMatches";

/// Text of wsa:To in a message to the multicast group.
inline constexpr char kDiscoveryUrn[] = "urn:schemas-xmlsoap-org:ws:2005:04:discovery";
/// Text of wsa:To in an answer to a Probe.
inline constexpr char kAnonymousUri[] =
    "http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous";

/// Begins every namespace URI that CDiscoverySoap::ParseProbe recognises.
inline constexpr char kHttpScheme[] = "http://";

// Parts of URIs by which ParseProbe recognises namespaces. The first three occur in the URIs of
// other versions of the standards too. The last one is kVendorDiscoveryUri without "http://".
inline constexpr char kEnvelopeFragment[] = "/soap-envelope";
inline constexpr char kDiscoveryFragment[] = "/discovery";
inline constexpr char kAddressingFragment[] = "/addressing";
inline constexpr const char* kVendorFragment =
    kVendorDiscoveryUri + (sizeof(kHttpScheme) - sizeof(""));

} // namespace kx
