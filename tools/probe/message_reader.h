#pragma once

#include "device.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace kx::tools {

/// A message's position in the sequence of its sender's messages (WS-Discovery (April 2005),
/// application sequencing).
struct AppSequence {
    std::uint64_t instanceId;
    std::string sequenceId; ///< often absent
    std::uint64_t messageNumber;
};

/// A message in which a device describes itself: a Hello or Bye (WS-Discovery (April 2005) 4.1,
/// 4.2), or an answer to a Probe or a Resolve (5.3, 6.3). A Bye has only the device's address.
struct Message {
    enum class Kind { kHello, kBye, kProbeMatches, kResolveMatches };
    Kind kind;
    std::string relatesTo; ///< text of wsa:RelatesTo as received; empty without one
    std::optional<AppSequence> appSequence;
    std::vector<Device> devices; ///< at least one; each has an address
};

/// Why a datagram is not a Message.
enum class Unread {
    kNotWellFormed, ///< not well-formed XML
    kOtherVersion,  ///< of another version of WS-Addressing or WS-Discovery
    kNoAddress,     ///< describes no device that has an address
    kOtherMessage,  ///< a message of another kind, such as a Probe
};

/// Reads a datagram as a Message. Devices without an address are left out.
///
/// @param data    received bytes; a terminating NUL is not needed
/// @param length  bytes in `data`; nothing after them is read
///
/// Thread-safe.
std::variant<Message, Unread> ReadMessage(const char* data, std::size_t length);

/// Returns whether an answer relates to the message with this identifier, "urn:uuid:" and a UUID.
/// Only the UUID is compared, ignoring case: some devices repeat it with another prefix, two
/// prefixes or none. Thread-safe.
bool RelatesTo(const Message& answer, const std::string& identifier);

} // namespace kx::tools
