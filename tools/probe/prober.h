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

/// How many times a Probe is sent, and at which interval. Its identifier stays the same.
struct ProbeSchedule {
    int times;
    std::chrono::steady_clock::duration interval;
};

/// Datagrams that were ignored, by reason.
struct IgnoredCounts {
    std::uint64_t otherProbe = 0;          ///< answers to other messages than ours
    std::array<std::uint64_t, 4> unread{}; ///< by Unread

    IgnoredCounts& operator+=(const IgnoredCounts& other);
};

/// Looks for devices on one adapter: sends a Probe to the discovery group or to one host, and
/// receives the answers. When watching the group, it also receives announcements.
///
/// Create it by std::make_shared: a timer keeps it alive, so it may be closed and released while
/// the service runs. Threads: the one that runs the service.
class CProber : public std::enable_shared_from_this<CProber> {
public:
    /// Called for every device in every answer to our messages and in every announcement, including
    /// repeated ones.
    ///
    /// @return whether to ask the device for its XAddrs
    using OnHeard = std::function<bool(Message::Kind, const Heard&)>;

    /// @param destination  the discovery group, or a host that is asked directly
    ///
    /// Errors: AdapterError.
    CProber(boost::asio::io_context& ioService, CReceiver& receiver, const Adapter& adapter,
            const boost::asio::ip::udp::endpoint& destination, bool watching, OnHeard onHeard);
    CProber(const CProber&) = delete;
    CProber& operator=(const CProber&) = delete;

    /// Starts receiving.
    void Start();

    /// Sends new Probes. The previous ones are no longer repeated, and their answers are ignored.
    ///
    /// Errors: AdapterError; nothing is then pending. If a repetition fails, the service's run
    /// throws it; the run may be continued.
    void Ask(const std::vector<ClientMessage>& probes, const ProbeSchedule& schedule);

    /// Stops receiving and sending.
    void Close();

    const boost::asio::ip::udp::endpoint& Destination() const { return destination; }
    const IgnoredCounts& Ignored() const { return ignored; }

    /// Returns how many datagrams the kernel dropped because the sockets' buffers were full.
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
    const bool listening; ///< to the group
    const OnHeard onHeard;
    CMessageSocket probing;
    CMessageSocket group; ///< open when listening
    boost::asio::steady_timer sendTimer;
    std::vector<ClientMessage> probes;
    std::map<std::string, ClientMessage> resolves; ///< sent since the last Ask, by device address
    ProbeSchedule remaining{};
    /// When the Probes were sent, each time.
    std::vector<std::chrono::steady_clock::time_point> sentTimes;
    IgnoredCounts ignored;
};

} // namespace kx::tools
