#pragma once

#include "adapter_record.h"
#include "discovery_soap.h"
#include "endpoint_description.h"
#include "i_core_log.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/system/error_code.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace kx {

/// How often a thread looks again at what another one is to finish.
inline constexpr std::chrono::milliseconds kPollInterval{10};
/// How long a Bye may take, and how long a stop waits for an endpoint's Bye and teardown together.
inline constexpr auto kStopBound = 49 * kPollInterval;

/// The discovery endpoint of one network adapter: announces the recorder there, answers Probes and
/// keeps its socket alive. Held by shared pointer, never copied.
///
///     constructed --Restart--> listening: receive pending, watchdog armed, Hello sent
///     listening, Restart --essential step, receive or sends fail--> back-off: socket closed
///     back-off --retry timer--> Restart
///     any --StopOperations(true)--> stopped for good
///
/// Threads: the I/O thread runs every completion handler and everything else that touches the
/// socket or the timers, with one exception: the manager's thread constructs and runs the first
/// Restart, for which the I/O thread is held at a gate (see CDiscoveryManager::Start). The
/// manager's thread also stops; only atomic fields are touched by both at a time. A stop sets its
/// flags and then has the I/O thread tear down. As that thread runs one handler at a time, the
/// teardown follows every handler that looked at the flags just before: whatever such a handler
/// opened or armed is closed and cancelled too, and no descriptor is closed under a system call
/// that uses it.
///
/// Counting: every asynchronous start is counted, and its handler uncounts it first thing; the
/// teardown's uncounts it last, which keeps the endpoint busy until the teardown is done. The
/// manager frees an endpoint only when nothing is outstanding. A start is counted after it is made:
/// one that throws std::bad_alloc never completes, and a stop would wait for it without end. The
/// manager's thread looks at the counts only after it has made its own starts, and no handler of a
/// start made on the I/O thread, or behind the gate, runs before that start is counted.
class CDiscoveryUdp {
public:
    /// @param ioService         outlives the endpoint
    /// @param adapter           its ipAddress names the endpoint in every message
    /// @param description       what is advertised; its mac is replaced by the adapter's
    /// @param multicastEnabled  0: an ephemeral port that only sends; else a full endpoint
    /// @param groupAddress      IPv4 dotted text
    /// @param port              discovery port
    ///
    /// Errors: boost::system::system_error (EINVAL) when an address is not IPv4 dotted text.
    CDiscoveryUdp(boost::asio::io_context& ioService, const AdapterRecord& adapter,
                  const EndpointDescription& description, std::int32_t multicastEnabled,
                  const std::string& groupAddress, std::uint16_t port);
    CDiscoveryUdp(const CDiscoveryUdp&) = delete;
    CDiscoveryUdp& operator=(const CDiscoveryUdp&) = delete;

    /// Closes what is open; sends nothing and logs nothing. Threads: any, behind the last handler.
    ~CDiscoveryUdp(); // NOLINT(bugprone-exception-escape): cancelling a timer cannot fail

    /// Opens the socket on the adapter's device, joins the group and sets the endpoint going
    /// (socket(7), ip(7)). An essential step that fails is logged and leads to back-off.
    ///
    /// Threads: manager inside Start; I/O afterwards.
    void Restart();

    /// Withdraws the recorder: at most one Bye, sent synchronously, failures ignored. From here on
    /// the endpoint sends nothing else.
    ///
    /// Threads: I/O. Waits until the datagram is accepted, for kStopBound at most and no longer
    /// than the stop waits.
    void SendBye();

    /// Cancels all waits and closes the socket.
    ///
    /// @param final  false: for a restart; done at once. Threads: I/O, or manager inside Start.
    ///               true: for good; waits for the I/O thread to do it, kStopBound at most, and
    ///               then gives up a Bye that has not gone. Threads: manager.
    void StopOperations(bool final);

    /// Whether the I/O thread still has work on this endpoint. Threads: any.
    bool Busy() const { return pendingReceives > 0 || pendingOps > 0; }

    CDiscoverySoap* soap = nullptr;   ///< not owned; null: nothing is announced or answered
    kx::log::ICoreLog* log = nullptr; ///< not owned; null: messages go to standard output

private:
    friend struct DiscoveryUdpPeer; ///< tests call handlers with any error, without waiting

    /// Longest datagram that is looked at; of a longer one, so much of its beginning.
    static constexpr std::size_t kReceiveBufferSize = 4096;

    /// Kept by a send and by all its retries.
    using Message = boost::shared_ptr<std::string>;

    // Set-up, back-off and teardown (discovery_udp.cpp).
    bool SetUpSocket();
    bool BindToDevice();
    void JoinGroup(boost::system::error_code& error);
    void ScheduleRetry();
    void OnRetryTimer(const boost::system::error_code& error);
    void CloseSocketAndTimers();

    // The watchdog of the group membership (discovery_udp_watchdog.cpp).
    void ArmActivityTimer();
    void NoteActivity();
    void OnActivityTimer(const boost::system::error_code& error);

    // Receiving and answering (discovery_udp_receive.cpp).
    void StartReceive();
    void OnReceive(const boost::system::error_code& error, std::size_t length);
    void OnDatagram(std::size_t length);
    void AnswerProbe(const std::string& messageId, const std::string& typesText);

    // Announcing and sending (discovery_udp_send.cpp).
    void SendHello();
    void SendMessage(const Message& message);
    void OnSendComplete(const Message& message, const boost::system::error_code& error);

    /// The socket and the timers are being torn down; cleared by Restart.
    std::atomic<bool> closing{false};
    /// Stopped for good: no handler arms a timer or restarts any more.
    std::atomic<bool> stopping{false};
    /// The Bye was sent, failed, was skipped or is given up; no attempt begins after this.
    std::atomic<bool> byeDone{false};
    std::atomic<std::int32_t> pendingReceives{0};
    /// Operations of every kind: receives, sends, timer waits, the final teardown.
    std::atomic<std::int32_t> pendingOps{0};

    boost::asio::io_context& ioService;
    const AdapterRecord adapter;
    EndpointDescription description;
    const std::int32_t multicastEnabled;
    const boost::asio::ip::address_v4 groupAddress;
    const std::uint16_t port;
    const boost::asio::ip::udp::endpoint groupEndpoint;
    /// The adapter's address; its family is the socket's, its address the membership's interface.
    const boost::asio::ip::udp::endpoint localEndpoint;

    boost::asio::ip::udp::socket socket;
    boost::asio::ip::udp::endpoint senderEndpoint;
    /// Where the latest send went; retries of any message go there too.
    boost::asio::ip::udp::endpoint sendDestination;
    /// One byte longer than what is received into it, for a NUL behind the longest datagram.
    std::vector<char> receiveBuffer;

    bool restartPending = false;
    std::int32_t retryDelaySeconds;
    boost::asio::steady_timer retryTimer;
    /// Failed sends in a row, across messages and restarts.
    std::int32_t sendRetryCount = 0;
    /// Re-joins in the endpoint's life.
    std::int32_t rejoinCount = 0;
    /// A discovery message was heard since the last Restart.
    bool activitySeen = false;
    boost::asio::steady_timer activityTimer;
};

/// Whether a completion reports the cancellation of its operation. Threads: any.
bool WasCancelled(const boost::system::error_code& error);

} // namespace kx
