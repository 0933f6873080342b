#pragma once

#include "endpoint_description.h"

#include <string>

namespace kx {

inline constexpr unsigned kAnnounceHello = 0;
inline constexpr unsigned kAnnounceBye = 1;

/// Builds the text of a Hello or a Bye (WS-Discovery (April 2005) 4).
///
/// @param kind  kAnnounceHello or kAnnounceBye
/// @param out   out: the whole message; empty if `kind` has another value
///
/// Deliberate: if the description has a MAC address, the Hello contains the MAC scope and none of
/// `description.scopes`. Clients read the only scope as the MAC address and would misread a list.
///
/// Deliberate: a Bye contains only the endpoint reference. A client that reads types and addresses
/// from every message would take a Bye that contains them for a Hello.
///
/// Errors: std::bad_alloc; ends the process if /dev/urandom cannot be read, see CoCreateGuid.
/// Thread-safe.
void BuildAnnouncement(const EndpointDescription& description, unsigned kind, std::string& out);

} // namespace kx
