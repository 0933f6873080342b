#pragma once

#include "endpoint_description.h"

#include <tinyxml2.h>

#include <string>
#include <vector>

/// Functions that build the elements of outgoing messages. The document owns every element. An
/// element from a Make function is not yet part of the tree: the caller attaches it.
///
/// Texts are passed unescaped; printing the document escapes reserved characters. Thread-safe as
/// long as each thread has its own document.
namespace kx {

/// Creates wsa:EndpointReference with wsa:Address in it (WS-Addressing (August 2004) 2.2).
tinyxml2::XMLElement* MakeEndpointReference(tinyxml2::XMLDocument& document,
                                            const std::string& address);

/// Creates wsd:Scopes with the text "mac:" followed by the MAC address, which may be empty.
tinyxml2::XMLElement* MakeMacScope(tinyxml2::XMLDocument& document, const std::string& mac);

/// Creates wsd:Types with all types, separated by spaces. Each type that does not begin with the
/// vendor's prefix gets it: X becomes ktz:X. Without types, the element is empty.
///
/// Deliberate: a type with another prefix gets the vendor's too: dn:X becomes ktz:dn:X, because
/// the envelope does not declare dn. kDeviceTypes has no such type.
tinyxml2::XMLElement* MakeTypes(tinyxml2::XMLDocument& document,
                                const std::vector<std::string>& types);

/// Creates wsd:Scopes with the scopes, separated by spaces; returns null if there are no scopes.
tinyxml2::XMLElement* MakeScopes(tinyxml2::XMLDocument& document,
                                 const std::vector<std::string>& scopes);

/// Begins a message in an empty document: the envelope, the header with wsa:Action, a new
/// wsa:MessageID, wsa:RelatesTo and wsa:To, and an empty body.
///
/// @param relatesTo  text of wsa:RelatesTo; null leaves the element out
/// @return the body, already attached
///
/// Deliberate: no AppSequence header (WS-Discovery (April 2005) 7), which numbers the messages. A
/// run does not know the numbers of the previous run. If it used lower ones, a client that
/// identifies the recorder by its MAC address would discard its messages as old.
///
/// Errors: std::bad_alloc; ends the process if /dev/urandom cannot be read, see CoCreateGuid.
tinyxml2::XMLElement* OpenMessage(tinyxml2::XMLDocument& document, const char* action,
                                  const char* relatesTo, const char* to);

/// Creates an element and attaches it as the last child of `parent`.
tinyxml2::XMLElement* AppendElement(tinyxml2::XMLElement& parent, const char* name);

/// Attaches to a Hello or a ProbeMatch the elements that describe the recorder, in the order that
/// the WS-Discovery schema requires.
///
/// @param scopes  from MakeMacScope or MakeScopes; null leaves the element out
void AppendTarget(tinyxml2::XMLElement& parent, const EndpointDescription& description,
                  tinyxml2::XMLElement* scopes);

} // namespace kx
