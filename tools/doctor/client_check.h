#pragma once

#include "adapter.h"
#include "device.h"
#include "finding.h"

#include <boost/asio/ip/address_v4.hpp>

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kx::tools {

/// An answer from a recorder.
struct SeenAnswer {
    std::string target; ///< the address that was asked directly; empty when the group was asked
    boost::asio::ip::address_v4 source;
    Device device;
    bool received; ///< by the socket that asked; otherwise it was seen at the adapter only
};

/// Observations on one adapter of a client.
struct ClientObservation {
    Adapter adapter;
    bool watched = false;               ///< whether a packet socket watched the adapter
    std::vector<SeenAnswer> answers;    ///< without repetitions
    std::set<std::string> otherDevices; ///< addresses of other devices that answered
    std::string target;                 ///< the address given with --to; on one adapter only
    std::string sendError;              ///< why the Probe to the group was not sent; or empty
    /// The same for each address that was asked directly.
    std::map<std::string, std::string> directErrors;
    std::uint64_t reversePathDropCount = 0; ///< during the examination, on all adapters
    /// Silence is a note, not a fault: the user named no adapter, and another one has an answer or
    /// a `target`.
    bool optional = false;
};

/// Returns whether a recorder answered the Probe to this address; empty: the Probe to the group.
bool AnyAnswer(const ClientObservation& seen, const std::string& target);

/// Returns the IPv4 addresses that recorders advertise although they answer from another one. A
/// direct Probe to each shows whether the recorder can be reached there.
std::set<std::string> OtherHosts(const ClientObservation& seen);

/// Returns the findings on an adapter of a client. If one cause explains several findings, only the
/// cause is a fault.
///
/// Thread-safe.
Findings CheckClient(const ClientObservation& seen);

} // namespace kx::tools
