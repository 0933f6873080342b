#pragma once

/// All URIs: those of SOAP 1.2, WS-Addressing (August 2004), WS-Discovery (April 2005) and the
/// vendor, with the names that recorders use on the wire.
namespace kx {

inline constexpr char kSoapEnvelopeUri[] = "http://www.w3.org/2003/05/soap-envelope";
inline constexpr char kAddressingUri[] = "http://schemas.xmlsoap.org/ws/2004/08/addressing";
inline constexpr char kDiscoveryUri[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery";
inline constexpr char kVendorDiscoveryUri[] = "http://schemas.ktzkx.example/discovery";

/// Device type of a recorder, in the vendor's namespace.
inline constexpr char kDeviceType[] = "NetworkVideoRecorder";
/// The types that a recorder answers to and advertises, without prefix.
inline constexpr const char* kDeviceTypes[] = {kDeviceType};
/// Start of the scope that names a recorder's MAC address.
inline constexpr char kMacScopePrefix[] = "mac:";

inline constexpr char kHelloAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Hello";
inline constexpr char kByeAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Bye";
inline constexpr char kProbeAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Probe";
inline constexpr char kProbeMatchesAction[] =
    "http://schemas.xmlsoap.org/ws/2005/04/discovery/ProbeMatches";

/// wsa:To of a message to the multicast group.
inline constexpr char kDiscoveryUrn[] = "urn:schemas-xmlsoap-org:ws:2005:04:discovery";
/// wsa:To of an answer to the sender of a Probe.
inline constexpr char kAnonymousUri[] =
    "http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous";

/// Start of every namespace URI that is recognised in a received message.
inline constexpr char kHttpScheme[] = "http://";

// Parts of URIs by which the namespaces of received messages are recognised. They match other
// versions of the same standards too.
inline constexpr char kEnvelopeFragment[] = "/soap-envelope";
inline constexpr char kDiscoveryFragment[] = "/discovery";
inline constexpr char kAddressingFragment[] = "/addressing";
inline constexpr const char* kVendorFragment =
    kVendorDiscoveryUri + (sizeof(kHttpScheme) - sizeof(""));

} // namespace kx
