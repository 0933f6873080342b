#pragma once

#include "endpoint_description.h"

#include <tinyxml2.h>

#include <string>
#include <vector>

/// Builders of the elements that the outgoing messages share. The message's document owns every
/// element. The caller attaches the element that a Make function returns.
///
/// Reserved characters are escaped when the document is printed. No errors; thread-safe as long as
/// each thread has its own document.
namespace kx {

/// Creates wsa:EndpointReference with wsa:Address in it (WS-Addressing (August 2004) 2.2).
tinyxml2::XMLElement* MakeEndpointReference(tinyxml2::XMLDocument& document,
                                            const std::string& address);

/// Creates wsd:Scopes with the text "mac:" and the address, which may be empty.
tinyxml2::XMLElement* MakeMacScope(tinyxml2::XMLDocument& document, const std::string& mac);

/// Creates wsd:Types with all types in the vendor's namespace, separated by spaces; empty when
/// there are none.
///
/// Deliberate: only a type with the vendor's own prefix stays unchanged; dn:X becomes ktz:dn:X.
/// Left as it is, it would use a prefix that the envelope does not declare, and a client that
/// resolves prefixes would refuse the message.
tinyxml2::XMLElement* MakeTypes(tinyxml2::XMLDocument& document,
                                const std::vector<std::string>& types);

/// Creates wsd:Scopes with the scopes, separated by spaces; null when there are none.
tinyxml2::XMLElement* MakeScopes(tinyxml2::XMLDocument& document,
                                 const std::vector<std::string>& scopes);

/// Creates the envelope and the header with Action, a new MessageID, RelatesTo if any, and To.
///
/// @param relatesTo  text of wsa:RelatesTo; null leaves the element out
/// @return the empty s:Body, attached
///
/// Deliberate: no AppSequence header (WS-Discovery (April 2005) 7). A run does not know the numbers
/// of the previous run, and clients would discard messages with lower numbers as old.
/// Errors: a broken random device ends the process, see NewUuidString.
tinyxml2::XMLElement* OpenMessage(tinyxml2::XMLDocument& document, const char* action,
                                  const char* relatesTo, const char* to);

/// Creates an element and attaches it as the last child of `parent`.
tinyxml2::XMLElement* AppendElement(tinyxml2::XMLElement& parent, const char* name);

/// Attaches the elements that describe the recorder in a Hello and a ProbeMatch, in the schema's
/// order: endpoint reference, types, scopes, transport addresses, metadata version.
///
/// @param scopes  from MakeMacScope or MakeScopes; null leaves the element out
void AppendTarget(tinyxml2::XMLElement& parent, const EndpointDescription& description,
                  tinyxml2::XMLElement* scopes);

} // namespace kx
