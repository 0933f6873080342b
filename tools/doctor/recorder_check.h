#pragma once

#include "adapter.h"
#include "finding.h"
#include "socket_owner.h"
#include "socket_table.h"

#include <boost/asio/ip/udp.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace kx::tools {

/// A Probe that arrived at an adapter and that a recorder has to answer.
struct SeenProbe {
    boost::asio::ip::udp::endpoint prober;
    std::string identifier; ///< text of its MessageID
    bool toGroup;           ///< false: sent to an address of this machine
    bool answered = false;  ///< an answer to it left by the same adapter
    int routeBack = 0;      ///< index of the device of the route to the prober; 0: no route
};

/// What was observed on the whole machine.
struct MachineState {
    std::vector<UdpSocket> sockets;      ///< on the discovery port before the watch for Probes
    std::vector<UdpSocket> laterSockets; ///< after the watch
    std::map<std::uint32_t, SocketOwner> owners; ///< of `sockets`, by inode
    std::map<std::string, int> groupMembers;     ///< see ReadGroupMembers
    std::map<int, std::string> deviceNames;      ///< of all adapters, by index
    std::uint64_t reversePathDropCount = 0;      ///< during the watch
    std::string bufferLimit;                     ///< net.core.rmem_max; may be empty
};

/// What was observed on one adapter of a recorder.
struct RecorderObservation {
    Adapter adapter;
    bool portTaken = false; ///< another program has the discovery port and does not share it
    bool watched = false;   ///< a packet socket filled in the fields below
    std::vector<SeenProbe> probes;
    /// Arrived Probes that no recorder answers because of their content (such as other types),
    /// length or source (see IsAnswerable).
    std::size_t otherProbeCount = 0;
};

/// Returns the findings on an adapter of a recorder. A finding that another finding explains is
/// only a note, or is left out.
///
/// Thread-safe.
Findings CheckRecorder(const MachineState& machine, const RecorderObservation& seen);

} // namespace kx::tools
