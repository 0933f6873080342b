#pragma once

#include "endpoint_description.h"

#include <string>

namespace kx {

inline constexpr unsigned kAnnounceHello = 0;
inline constexpr unsigned kAnnounceBye = 1;

/// Builds the text of a Hello or a Bye (WS-Discovery (April 2005) 4).
///
/// @param kind  kAnnounceHello or kAnnounceBye
/// @param out   out: the whole message; left empty for any other kind
///
/// Deliberate: the MAC scope replaces the scope list, and a Bye carries only the endpoint
/// reference. A client that reads the only scope as the MAC address would misread a list, and one
/// that reads the metadata of every message would mistake a Bye with metadata for an announcement.
///
/// Errors: a broken random device ends the process, see NewUuidString. Thread-safe.
void BuildAnnouncement(const EndpointDescription& description, unsigned kind, std::string& out);

} // namespace kx
