#pragma once

#include "endpoint_description.h"

#include <tinyxml2.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kx {

/// The message codec of a WS-Discovery target (WS-Discovery (April 2005), SOAP 1.2): text in, text
/// out; it neither logs nor touches a socket.
///
/// Owned by the discovery manager and shared by its endpoints.
/// Threads: any; `types` is complete before the first endpoint starts and no operation changes it.
class CDiscoverySoap {
public:
    /// Device type names that are answered to, without prefix.
    std::vector<std::string> types;

    /// Builds the announcement of a target that has come; replaces `out`.
    void Hello(const EndpointDescription& description, std::string& out) const;

    /// Builds the announcement of a target that goes; replaces `out`.
    void Bye(const EndpointDescription& description, std::string& out) const;

    /// A quick look at a datagram: whether ParseProbe could give 1. A no is certain, as long as no
    /// type holds a line feed, which XML would read out of other line ends.
    ///
    /// Of what arrives in a network of many devices nearly all is for others, and taking it apart
    /// as XML is most of what an endpoint costs.
    ///
    /// @param data    received bytes; a terminating NUL is not needed
    /// @param length  bytes in `data`; nothing behind them is read
    bool MayMatch(const char* data, std::size_t length) const;

    /// Decides whether a datagram is a Probe for one of our device types
    /// (WS-Discovery (April 2005) 5.2).
    ///
    /// @param data       received bytes; a terminating NUL is not needed
    /// @param length     bytes in `data`; nothing behind them is read
    /// @param messageId  out: text of MessageID, set once found in a Probe, else untouched
    /// @param typesText  out: text of Types, set once found, else untouched
    /// @param action     out: text of Action, set once found, else untouched
    /// @return 1 on a match; 0 otherwise, malformed XML included
    std::int32_t ParseProbe(const char* data, std::size_t length, std::string& messageId,
                            std::string& typesText, std::string& action) const;

    /// Builds the answer to an accepted Probe (WS-Discovery (April 2005) 5.3): one match, the
    /// endpoint itself.
    ///
    /// @param probeMessageId  as ParseProbe gave it
    /// @param out             out: the whole message, replacing what was there
    void ProbeMatches(const std::string& probeMessageId, const EndpointDescription& description,
                      std::string& out) const;
};

/// Finds the prefix under which an element declares a namespace.
///
/// @param element   its own attributes alone are looked at; may be null
/// @param fragment  what the namespace's URI contains; may be null
/// @param prefix    out: "prefix:", or empty when no declaration fits. A default namespace and
///                  URIs without http:// never fit, so names are then looked up bare.
void NamespacePrefixFor(const tinyxml2::XMLElement* element, const char* fragment,
                        std::string& prefix);

/// Whether the prefix and one of the types occur together anywhere in the text.
///
/// Deliberate: a plain substring; the text is not split into names, so without a prefix
/// "dn:NetworkVideoRecorder" holds "NetworkVideoRecorder".
bool AnyTypeListed(const std::vector<std::string>& types, const std::string& typesText,
                   const std::string& prefix);

} // namespace kx
