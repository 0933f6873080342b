#pragma once

#include "device.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace kx::tools {

/// A message's position among those of its sender (WS-Discovery (April 2005), application
/// sequencing).
struct AppSequence {
    std::uint64_t instanceId;
    std::string sequenceId; ///< often absent
    std::uint64_t messageNumber;
};

/// A message in which a device describes itself: an announcement (WS-Discovery (April 2005) 4.1,
/// 4.2; a Bye has only the address) or an answer to a Probe or a Resolve (5.3, 6.3).
struct Message {
    enum class Kind { kHello, kBye, kProbeMatches, kResolveMatches };
    Kind kind;
    std::string relatesTo; ///< text of wsa:RelatesTo as received; empty without one
    std::optional<AppSequence> appSequence;
    std::vector<Device> devices; ///< one or more, each with an address
};

/// Why a datagram is not a Message.
enum class Unread {
    kNotWellFormed, ///< not well-formed XML
    kOtherVersion,  ///< of another version of WS-Addressing or WS-Discovery
    kNoAddress,     ///< names no device, or none with an address
    kOtherMessage,  ///< of another kind, such as a Probe
};

/// Reads a datagram as a Message. Devices without an address are left out.
///
/// @param data    received bytes; a terminating NUL is not needed
/// @param length  bytes in `data`; nothing after them is read
///
/// Thread-safe.
std::variant<Message, Unread> ReadMessage(const char* data, std::size_t length);

/// Returns whether an answer relates to the message with the identifier. Devices repeat the
/// identifier unchanged, as the bare UUID, or with "uuid:" or "urn:uuid:" before either; only the
/// UUID at the end is compared, ignoring case. Thread-safe.
bool RelatesTo(const Message& answer, const std::string& identifier);

} // namespace kx::tools
