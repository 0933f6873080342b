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
    std::string target; ///< the address that was asked directly; empty for the group
    boost::asio::ip::address_v4 source;
    Device device;
    bool received; ///< by the socket that asked; false: only a packet socket saw it
};

/// What a client observed on one of its adapters.
struct ClientObservation {
    Adapter adapter;
    bool watched = false;               ///< by a packet socket
    std::vector<SeenAnswer> answers;    ///< each once, although Probes are repeated
    std::set<std::string> otherDevices; ///< IP addresses of answering devices that are no recorders
    /// The address given with --to. Set on one adapter only: that of the route to it or, if that
    /// adapter is not examined, the first.
    std::string target;
    std::string sendError; ///< why the Probe to the group was not sent; empty if it was
    /// For each address asked directly: why the Probe was not sent; empty if it was.
    std::map<std::string, std::string> directErrors;
    /// Datagrams that reverse-path filtering dropped during the examination, on all adapters.
    std::uint64_t reversePathDropCount = 0;
    /// Whether a missing answer is only a note: the user named no adapter, this one has neither a
    /// `target` nor an answer to the Probe to the group, and another has one of them.
    bool optional = false;
};

/// Returns whether a recorder answered a Probe, even if only the packet socket saw the answer.
///
/// @param target  where the Probe was sent; empty for the group
///
/// Thread-safe.
bool AnyAnswer(const ClientObservation& seen, const std::string& target);

/// Returns whether a direct Probe to an address was tried. Thread-safe.
bool WasAsked(const ClientObservation& seen, const std::string& target);

/// Returns the addresses in the XAddrs of recorders for which AdvertisesOtherHost is true. A direct
/// Probe to each shows whether the recorder can be reached there. Thread-safe.
std::set<std::string> OtherHosts(const ClientObservation& seen);

/// Returns the findings on an adapter of a client. A finding that another finding explains is only
/// a note, or is left out.
///
/// Thread-safe.
Findings CheckClient(const ClientObservation& seen);

} // namespace kx::tools
