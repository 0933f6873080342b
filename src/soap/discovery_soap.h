#pragma once

#include "endpoint_description.h"

#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kx {

/// The message codec of a WS-Discovery target (WS-Discovery (April 2005), SOAP 1.2). Builds and
/// reads texts; neither logs nor uses a socket.
///
/// Owned by the discovery manager and shared by its endpoints.
/// Thread-safe: `types` is complete before the first endpoint starts and does not change
/// afterwards.
class CDiscoverySoap {
public:
    /// Device type names, without prefix, whose Probes are answered.
    std::vector<std::string> types;

    /// Builds a Hello; replaces `out`.
    void Hello(const EndpointDescription& description, std::string& out) const;

    /// Builds a Bye; replaces `out`.
    void Bye(const EndpointDescription& description, std::string& out) const;

    /// Returns, without parsing, whether ParseProbe might return 1. If not, it would return 0,
    /// unless a type contains a line feed: the parser converts other line ends to it.
    ///
    /// In a network of many devices nearly all datagrams are for others, and parsing them as XML
    /// would take most of an endpoint's processor time.
    ///
    /// @param data    received bytes; a terminating NUL is not needed
    /// @param length  bytes in `data`; nothing after them is read
    bool MayMatch(const char* data, std::size_t length) const;

    /// Parses a datagram and decides whether it is a Probe for one of `types` (WS-Discovery (April
    /// 2005) 5.2).
    ///
    /// @param data       received bytes; a terminating NUL is not needed
    /// @param length     bytes in `data`; nothing after them is read
    /// @param messageId  out: text of MessageID, set once found in a Probe, else untouched
    /// @param typesText  out: text of Types, set once found, else untouched
    /// @param action     out: text of Action, set once found, else untouched
    /// @return 1 on a match; 0 otherwise, malformed XML included
    std::int32_t ParseProbe(const char* data, std::size_t length, std::string& messageId,
                            std::string& typesText, std::string& action) const;

    /// Builds the answer to an accepted Probe (WS-Discovery (April 2005) 5.3): one match, the
    /// endpoint itself.
    ///
    /// @param probeMessageId  the text that ParseProbe returned
    /// @param out             out: the whole message; its former content is replaced
    void ProbeMatches(const std::string& probeMessageId, const EndpointDescription& description,
                      std::string& out) const;
};

/// Finds the prefix under which an element itself declares a namespace.
///
/// @param element   may be null
/// @param fragment  a part of the namespace's URI; may be null
/// @param prefix    out: "prefix:", or empty when no declaration matches; names then have no
///                  prefix. A default namespace or a URI without http:// never matches.
void NamespacePrefixFor(const tinyxml2::XMLElement* element, const char* fragment,
                        std::string& prefix);

/// Returns whether the prefix followed by one of the types occurs anywhere in the text.
///
/// Deliberate: searches for a substring. If names were compared, a client that does not declare the
/// vendor's namespace and asks for "dn:NetworkVideoRecorder" would get no answer.
bool AnyTypeListed(const std::vector<std::string>& types, const std::string& typesText,
                   const std::string& prefix);

} // namespace kx
