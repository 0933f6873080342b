#pragma once

#include "device_list.h"
#include "message_socket.h"
#include "probe_message.h"

#include <boost/asio/steady_timer.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace kx::tools {

/// How many times a Probe is sent, and at which interval. All repetitions have the same identifier.
struct ProbeSchedule {
    int times;
    std::chrono::steady_clock::duration interval;
};

/// Counts of ignored datagrams, by reason. Readable messages to the group, such as the Probes of
/// other clients, are not counted.
struct IgnoredCounts {
    std::uint64_t otherProbe = 0;          ///< answers, but not to our latest Probes and Resolves
    std::array<std::uint64_t, 4> unread{}; ///< all others; the index is an Unread

    IgnoredCounts& operator+=(const IgnoredCounts& other);
};

/// Looks for devices on one adapter: sends Probes to the discovery group or to one host, and
/// receives the answers. When watching the group, it also receives announcements (Hello and Bye).
///
/// Create it with std::make_shared: the handler of its timer shares its ownership, so that it may
/// be released while the I/O service runs.
///
/// If receiving, repeating a Probe or sending a Resolve fails, the run of the I/O service throws an
/// AdapterError; the service may be run again. Threads: the one that runs the I/O service.
class CProber : public std::enable_shared_from_this<CProber> {
public:
    /// Called for each device in each answer to our messages and in each announcement, repetitions
    /// included.
    ///
    /// @return whether to ask the device for its XAddrs with a Resolve
    using OnHeard = std::function<bool(Message::Kind, const Heard&)>;

    /// @param receiver     must outlive this object
    /// @param destination  the discovery group or a host
    /// @param watching     whether to receive announcements too, if `destination` is the group
    ///
    /// Errors: AdapterError when a socket cannot be opened.
    CProber(boost::asio::io_context& ioService, CReceiver& receiver, const Adapter& adapter,
            const boost::asio::ip::udp::endpoint& destination, bool watching, OnHeard onHeard);
    CProber(const CProber&) = delete;
    CProber& operator=(const CProber&) = delete;

    /// Starts receiving.
    void Start();

    /// Sends new Probes. The previous ones are no longer repeated, and their answers are ignored.
    ///
    /// Errors: AdapterError; the Probes are then not repeated.
    void Ask(const std::vector<ClientMessage>& probes, const ProbeSchedule& schedule);

    /// Stops receiving and sending.
    void Close();

    const boost::asio::ip::udp::endpoint& Destination() const { return destination; }
    const IgnoredCounts& Ignored() const { return ignored; }

    /// Returns the sum for its sockets, see CMessageSocket::DroppedCount.
    std::uint64_t DroppedCount();

private:
    void Send();
    void Resolve(const std::string& address);
    bool AnswersUs(const Message& message) const;
    void OnAnswer(const Datagram& datagram);
    void OnAnnouncement(const Datagram& datagram);
    void HandOver(const Message& message, const Datagram& datagram);
    std::optional<std::chrono::steady_clock::duration> RoundTrip(const Datagram& answer) const;

    const Adapter adapter;
    const boost::asio::ip::udp::endpoint destination;
    const bool listening; ///< whether announcements to the group are received
    const OnHeard onHeard;
    CMessageSocket probing; ///< sends our messages and receives the answers
    CMessageSocket group;   ///< receives announcements; open only if `listening`
    boost::asio::steady_timer sendTimer;
    std::vector<ClientMessage> probes;
    std::map<std::string, ClientMessage> resolves; ///< sent since the last Ask, by device address
    /// `times` counts the repetitions still to send.
    ProbeSchedule remaining{};
    /// Times of the current Probes and their repetitions.
    std::vector<std::chrono::steady_clock::time_point> sentTimes;
    IgnoredCounts ignored;
};

} // namespace kx::tools
