#pragma once

#include "endpoint_description.h"

#include <tinyxml2.h>

#include <string>
#include <vector>

/// Elements that the outgoing messages share. All take the message's document, which owns what they
/// make; only MakeEnvelope, OpenMessage and the Append functions attach it. None reports errors;
/// reserved characters are escaped when the document is printed. Threads: any.
namespace kx {

/// Opens a document: declaration and s:Envelope with its four namespace declarations, attached.
///
/// Deliberate: the declaration names XML version 1.1, unlike the documents for the host.
tinyxml2::XMLElement* MakeEnvelope(tinyxml2::XMLDocument& document);

/// wsa:EndpointReference holding wsa:Address (WS-Addressing (August 2004) 2.2).
tinyxml2::XMLElement* MakeEndpointReference(tinyxml2::XMLDocument& document,
                                            const std::string& address);

/// wsd:XAddrs with the text, also when it is empty.
tinyxml2::XMLElement* MakeXAddrs(tinyxml2::XMLDocument& document, const std::string& xaddrs);

/// wsd:Scopes with "mac:" and the address, also when that is empty.
tinyxml2::XMLElement* MakeMacScope(tinyxml2::XMLDocument& document, const std::string& mac);

/// wsd:Types with every type in the vendor's namespace, separated by blanks; empty for no types,
/// never missing.
///
/// Deliberate: only the vendor's own prefix is recognised, so dn:X becomes ktz:dn:X.
tinyxml2::XMLElement* MakeTypes(tinyxml2::XMLDocument& document,
                                const std::vector<std::string>& types);

/// wsd:Scopes with the scopes, separated by blanks; null when there are none.
tinyxml2::XMLElement* MakeScopes(tinyxml2::XMLDocument& document,
                                 const std::vector<std::string>& scopes);

/// Opens a message: envelope, header with Action, a fresh MessageID, RelatesTo if any, and To.
///
/// @param relatesTo  text of wsa:RelatesTo; null leaves the element out
/// @return the empty s:Body, attached
///
/// Deliberate: no AppSequence header, which WS-Discovery (April 2005) has for application
/// sequencing: a run keeps no instance identifier or message number.
/// Errors: a broken random device ends the process, see NewUuidString.
tinyxml2::XMLElement* OpenMessage(tinyxml2::XMLDocument& document, const char* action,
                                  const char* relatesTo, const char* to);

/// Makes an element and attaches it as the last child of `parent`.
tinyxml2::XMLElement* AppendElement(tinyxml2::XMLElement& parent, const char* name);

/// Attaches what a Hello and a ProbeMatch say of their target, in the schema's order: endpoint
/// reference, types, scopes, transport addresses, metadata version.
///
/// @param scopes  made by MakeMacScope or MakeScopes; null leaves the element out
void AppendTarget(tinyxml2::XMLElement& parent, const EndpointDescription& description,
                  tinyxml2::XMLElement* scopes);

} // namespace kx
