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
/// Deliberate: the MAC scope wins over the scope list and the two are never combined; a Bye
/// carries the endpoint reference alone.
/// Errors: a broken random device ends the process, see NewUuidString.
/// Threads: any.
void BuildAnnouncement(const EndpointDescription& description, unsigned kind, std::string& out);

} // namespace kx
