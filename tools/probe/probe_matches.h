#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kx::tools {

/// What one ProbeMatch says of a recorder; an element that is missing leaves its text empty.
struct ProbeMatch {
    std::string address; ///< wsa:Address of its endpoint reference, which names it on the network
    std::string xaddrs;  ///< where it serves, separated by blanks
    std::string mac;     ///< what its scope "mac:..." says
};

/// An answer to a Probe (WS-Discovery (April 2005) 5.3).
struct ProbeMatches {
    std::string relatesTo; ///< text of wsa:RelatesTo
    std::vector<ProbeMatch> matches;
};

/// Reads an answer.
///
/// @param data    received bytes; a terminating NUL is not needed
/// @param length  bytes in `data`; nothing behind them is read
/// @return nothing when the bytes are no ProbeMatches message, or one without RelatesTo, or with a
///         match that gives no address
///
/// Threads: any.
std::optional<ProbeMatches> ReadProbeMatches(const char* data, std::size_t length);

/// Whether an answer relates to the Probe with the identifier. Recorders write the identifier back
/// as it was, as the bare UUID, or with "uuid:" or "urn:uuid:" before either; the UUID at the end
/// is what counts, in upper or lower case.
bool RelatesTo(const ProbeMatches& answer, const std::string& identifier);

} // namespace kx::tools
