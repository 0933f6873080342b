#pragma once

#include "endpoint_description.h"

#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kx {

/// Builds and reads the messages of a recorder, which is a WS-Discovery target (WS-Discovery (April
/// 2005), SOAP 1.2). Neither logs nor uses a socket.
///
/// CDiscoveryManager owns the plug-in's only instance, which all endpoints share. Thread-safe,
/// because `types` does not change after the first endpoint has started.
class CDiscoverySoap {
public:
    /// Names of the device types, without prefix.
    std::vector<std::string> types;

    /// Replaces `out` with a Hello; see BuildAnnouncement.
    void Hello(const EndpointDescription& description, std::string& out) const;

    /// Replaces `out` with a Bye; see BuildAnnouncement.
    void Bye(const EndpointDescription& description, std::string& out) const;

    /// Returns false only if ParseProbe would return 0 for this datagram. Does not parse it.
    ///
    /// In a network of many devices nearly all datagrams are for other devices, and parsing them as
    /// XML would take most of an endpoint's processor time.
    ///
    /// Precondition: no name in `types` contains a line feed. The XML parser converts other line
    /// ends to line feeds, so ParseProbe could find such a name where this function does not.
    ///
    /// @param data, length  received bytes; no terminating NUL is needed
    bool MayMatch(const char* data, std::size_t length) const;

    /// Parses a datagram and decides whether it is a Probe for one of `types` (WS-Discovery (April
    /// 2005) 5.2). An output that is not set stays unchanged.
    ///
    /// @param data, length  as for MayMatch
    /// @param messageId  out: text of MessageID, set if found and Action ends with "Probe"
    /// @param typesText  out: text of Types, set if found and messageId was set
    /// @param action     out: text of Action, set if found, whatever the kind of message
    /// @return 1 for such a Probe; 0 for everything else, malformed XML included
    ///
    /// Errors: std::bad_alloc.
    std::int32_t ParseProbe(const char* data, std::size_t length, std::string& messageId,
                            std::string& typesText, std::string& action) const;

    /// Replaces `out` with the answer to a Probe for which ParseProbe returned 1 (WS-Discovery
    /// (April 2005) 5.3). The answer contains one match, the described endpoint.
    ///
    /// @param probeMessageId  the text that ParseProbe set
    ///
    /// Errors: std::bad_alloc; ends the process if /dev/urandom cannot be read, see CoCreateGuid.
    void ProbeMatches(const std::string& probeMessageId, const EndpointDescription& description,
                      std::string& out) const;
};

/// Finds the prefix of a namespace among the declarations of one element, such as "wsd:" for
/// xmlns:wsd="http://schemas.xmlsoap.org/ws/2005/04/discovery". Uses the first declaration whose
/// URI begins with http:// and contains the fragment. A default namespace (xmlns="...") never
/// matches.
///
/// @param element   may be null, and then declares nothing
/// @param fragment  part of a URI, such as "/discovery"; null matches nothing
/// @param prefix    out: the prefix and its colon; empty if nothing matches, and the caller then
///                  looks for names without prefix
void NamespacePrefixFor(const tinyxml2::XMLElement* element, const char* fragment,
                        std::string& prefix);

/// Returns whether the prefix followed by one of the types occurs anywhere in the text.
///
/// Deliberate: searches for a substring. Some clients do not declare the vendor's namespace, so the
/// prefix is empty, and ask for "dn:NetworkVideoRecorder". If whole names were compared, they would
/// get no answer.
bool AnyTypeListed(const std::vector<std::string>& types, const std::string& typesText,
                   const std::string& prefix);

} // namespace kx
