#pragma once

#include "device_list.h"
#include "message_socket.h"
#include "probe_message.h"

#include <boost/asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>

namespace kx::tools {

/// How often a Probe is sent and at what distance. It stays the same Probe, with the same
/// identifier.
struct ProbeSchedule {
    int times;
    std::chrono::steady_clock::duration interval;
};

/// Looks for devices on one adapter: sends a Probe to the discovery group and takes in what comes
/// back to its socket; when watching, what devices announce to the group as well.
///
/// Made by std::make_shared: what it waits for keeps it alive, so it may be closed and dropped
/// while the service runs. Threads: the one that runs the service.
class CProber : public std::enable_shared_from_this<CProber> {
public:
    /// Called for every device in every answer to our Probe and, when watching, in every
    /// announcement; those that come again included.
    using OnHeard = std::function<void(Message::Kind, const Heard&)>;

    /// Errors: AdapterError.
    CProber(boost::asio::io_context& ioService, const Adapter& adapter, bool watching,
            OnHeard handler);
    CProber(const CProber&) = delete;
    CProber& operator=(const CProber&) = delete;

    /// Starts receiving.
    void Start();

    /// Sends a Probe, in place of one that is still to be sent again. Answers to the former no
    /// longer count.
    ///
    /// Errors: AdapterError; nothing is left pending then. It also comes from the service's run,
    /// which may be run again, when the Probe cannot be sent again.
    void Ask(const ClientMessage& probe, const ProbeSchedule& schedule);

    /// Ends it: nothing is heard any more.
    void Close();

    /// Datagrams so far that were no well-formed answer.
    int malformed = 0;

private:
    void Send();
    void OnAnswer(const std::variant<Message, Unread>& read,
                  const boost::asio::ip::udp::endpoint& source);
    void OnAnnouncement(const std::variant<Message, Unread>& read,
                        const boost::asio::ip::udp::endpoint& source);

    const std::string adapterName;
    const bool watching;
    const OnHeard onHeard;
    CMessageSocket probing;
    CMessageSocket group; ///< open when watching
    boost::asio::steady_timer sendTimer;
    ClientMessage probe;
    ProbeSchedule remaining{};
    /// When the Probe was sent last: which of several an answer is to, it does not tell.
    std::chrono::steady_clock::time_point sentAt;
};

} // namespace kx::tools
