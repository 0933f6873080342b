#pragma once

#include "device.h"

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// What a device says of itself: an answer to a Probe (WS-Discovery (April 2005) 5.3), or one of
/// the two announcements (4.1, 4.2), of which a Bye gives the address alone.
struct Message {
    enum class Kind { kProbeMatches, kHello, kBye };
    Kind kind;
    std::string relatesTo;       ///< text of wsa:RelatesTo; never empty in an answer
    std::vector<Device> devices; ///< one in an announcement, one or more in an answer
};

/// Reads such a message.
///
/// @param data    received bytes; a terminating NUL is not needed
/// @param length  bytes in `data`; nothing behind them is read
/// @return nothing when the bytes are no such message, or an answer without RelatesTo or without a
///         device, or when a device in it has no address
///
/// Threads: any.
std::optional<Message> ReadMessage(const char* data, std::size_t length);

/// Whether an answer relates to the Probe with the identifier. Devices write the identifier back
/// as it was, as the bare UUID, or with "uuid:" or "urn:uuid:" before either; the UUID at the end
/// is what counts, in upper or lower case.
bool RelatesTo(const Message& answer, const std::string& identifier);

} // namespace kx::tools
