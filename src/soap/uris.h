#pragma once

/// The one table of URIs: those of SOAP 1.2, WS-Addressing (August 2004) and WS-Discovery
/// (April 2005), and the vendor's own, with the names that recorders use on the wire.
namespace kx {

inline constexpr char kSoapEnvelopeUri[] = "http://www.w3.org/2003/05/soap-envelope";
inline constexpr char kAddressingUri[] = "http://schemas.xmlsoap.org/ws/2004/08/addressing";
inline constexpr char kDiscoveryUri[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery";
inline constexpr char kVendorDiscoveryUri[] = "http://schemas.ktzkx.example/discovery";

/// Device type of a recorder, in the vendor's namespace.
inline constexpr char kDeviceType[] = "NetworkVideoRecorder";
/// What the scope begins with that gives a recorder's MAC address.
inline constexpr char kMacScopePrefix[] = "mac:";

inline constexpr char kHelloAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Hello";
inline constexpr char kByeAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Bye";
inline constexpr char kProbeAction[] = "http://schemas.xmlsoap.org/ws/2005/04/discovery/Probe";
inline constexpr char kProbeMatchesAction[] =
    "http://schemas.xmlsoap.org/ws/2005/04/discovery/ProbeMatches";

/// Addressee of everything that is sent to the multicast group.
inline constexpr char kDiscoveryUrn[] = "urn:schemas-xmlsoap-org:ws:2005:04:discovery";
/// Addressee of an answer that goes back to where the question came from.
inline constexpr char kAnonymousUri[] =
    "http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous";

/// Scheme of every namespace name that is recognised in a received message.
inline constexpr char kHttpScheme[] = "http://";

// Fragments by which namespaces of received messages are recognised, so that other editions of the
// same standards pass as well.
inline constexpr char kEnvelopeFragment[] = "/soap-envelope";
inline constexpr char kDiscoveryFragment[] = "/discovery";
inline constexpr char kAddressingFragment[] = "/addressing";
inline constexpr const char* kVendorFragment =
    kVendorDiscoveryUri + (sizeof(kHttpScheme) - sizeof(""));

} // namespace kx
