#pragma once

#include "adapter.h"
#include "probe_matches.h"
#include "probe_message.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <array>
#include <chrono>
#include <functional>

namespace kx::tools {

/// One recorder's answer, as it came in.
struct Answer {
    ProbeMatch match;
    std::string adapter;                   ///< device name of the adapter that was probed on
    boost::asio::ip::udp::endpoint source; ///< where the answer came from
    std::chrono::steady_clock::duration roundTrip;
};

/// Probes on one adapter: sends one Probe to the discovery group and takes in what comes back to
/// its socket, for as long as the I/O service runs.
///
/// Must stay where it is and outlive the service's run. Threads: the one that runs the service.
class Prober {
public:
    /// Called for every match of every answer to our Probe, those that come again included.
    using OnAnswer = std::function<void(const Answer&)>;

    /// Opens the socket, bound to the adapter's own address: that makes it the source of what is
    /// sent, which a socket merely bound to the device would not have on loopback.
    ///
    /// Errors: std::runtime_error that names the adapter.
    Prober(boost::asio::io_context& ioService, const Adapter& adapter, OnAnswer handler);
    Prober(const Prober&) = delete;
    Prober& operator=(const Prober&) = delete;

    /// Sends the Probe and starts receiving.
    ///
    /// Errors: as the constructor.
    void Start(const ProbeMessage& probe);

    /// Datagrams so far that were no well-formed answer.
    int malformed = 0;

private:
    void StartReceive();
    void OnReceive(const boost::system::error_code& error, std::size_t length);

    const Adapter adapter;
    const OnAnswer onAnswer;
    std::string identifier;
    std::chrono::steady_clock::time_point sentAt;
    boost::asio::ip::udp::socket socket;
    boost::asio::ip::udp::endpoint source;
    std::array<char, 65536> buffer; // no UDP datagram is longer
};

} // namespace kx::tools
