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

/// A Probe for a recorder that arrived at an adapter from outside.
struct SeenProbe {
    boost::asio::ip::udp::endpoint prober;
    std::string identifier; ///< text of its MessageID
    bool toGroup;           ///< otherwise to an address of this machine
    bool answered = false;  ///< an answer left by the same adapter
    int routeBack = 0;      ///< index of the device that the route to the prober leads to; 0: none
};

/// Observations of the whole machine.
struct MachineState {
    std::vector<UdpSocket> sockets;      ///< on the discovery port, see ReadUdpSockets
    std::vector<UdpSocket> laterSockets; ///< the same after the watch
    std::map<std::uint32_t, SocketOwner> owners;
    std::map<std::string, int> groupMembers; ///< see ReadGroupMembers
    std::map<int, std::string> deviceNames;  ///< of all adapters, by their index
    std::uint64_t reversePathDropCount = 0;  ///< during the watch
    std::string bufferLimit;                 ///< net.core.rmem_max
};

/// Observations on one adapter.
struct RecorderObservation {
    Adapter adapter;
    bool portTaken = false; ///< a socket like the recorder's cannot be bound, as the port is in use
    bool watched = false;   ///< whether the fields below were observed
    std::vector<SeenProbe> probes;
    std::size_t otherProbeCount = 0; ///< Probes from outside that no recorder answers
};

/// Returns the findings on an adapter of a recorder. If one cause explains several findings, only
/// the cause is a fault.
///
/// Thread-safe.
Findings CheckRecorder(const MachineState& machine, const RecorderObservation& seen);

} // namespace kx::tools
