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

/// How often a thread checks whether another has finished.
inline constexpr std::chrono::milliseconds kPollInterval{10};
/// Longest time for a Bye, and longest wait of a stop for an endpoint's teardown.
inline constexpr auto kMaxStopWait = 49 * kPollInterval;

/// The discovery endpoint of one network adapter: announces the recorder there, answers Probes and
/// restores its socket after failures. Held by shared pointer, never copied.
///
///     constructed --Restart--> listening: receive pending, watchdog armed, Hello sent
///     listening, Restart --essential step, receive or sends fail--> back-off: socket closed
///     back-off --retry timer--> Restart
///     any --StopOperations(true)--> stopped for good
///
/// Threads: the manager's thread runs the constructor and the first Restart. That ends by
/// dispatching the start of all operations to the I/O thread or, when an essential step has failed,
/// by arming the retry timer. After that the manager's thread only stops the endpoint, and the two
/// threads share only atomic fields; everything else runs on the I/O thread.
///
/// A stop sets its flags, then posts the teardown to the I/O thread. A handler that is past its
/// check of the flags returns before the teardown runs, so the teardown closes and cancels whatever
/// that handler opened or armed, and closes no descriptor while a system call uses it.
///
/// Counting: the manager releases an endpoint only when no asynchronous operation is outstanding. A
/// completion handler decrements the count first, the teardown last: the endpoint stays busy until
/// it is torn down. An operation is counted after it is started: if the start throws
/// std::bad_alloc, no handler follows, and a stop would wait for it forever. The handler cannot run
/// before that, because the I/O thread is still in the handler that starts the operation, or
/// because the retry timer takes seconds. The teardown can, but the manager's thread checks the
/// count only later.
class CDiscoveryUdp {
public:
    /// @param ioService         outlives the endpoint
    /// @param adapter           its ipAddress names the endpoint in every message
    /// @param description       what is advertised
    /// @param multicastEnabled  0: announces from an ephemeral port and answers nothing; otherwise
    ///                          a full endpoint, as in every run
    /// @param groupAddress      IPv4 dotted text
    /// @param port              discovery port
    ///
    /// Errors: boost::system::system_error (EINVAL) when an address is not IPv4 dotted text.
    CDiscoveryUdp(boost::asio::io_context& ioService, const AdapterRecord& adapter,
                  const EndpointDescription& description, std::int32_t multicastEnabled,
                  const std::string& groupAddress, std::uint16_t port);
    CDiscoveryUdp(const CDiscoveryUdp&) = delete;
    CDiscoveryUdp& operator=(const CDiscoveryUdp&) = delete;

    /// Closes what is open; sends nothing and logs nothing. Threads: any, after the last handler.
    ~CDiscoveryUdp(); // NOLINT(bugprone-exception-escape): cancelling a timer cannot fail

    /// Opens the socket on the adapter's device, joins the group (socket(7), ip(7)), starts
    /// receiving and sends a Hello. An essential step that fails is logged and leads to back-off.
    ///
    /// Threads: manager for the first; I/O for the others.
    void Restart();

    /// Sends one Bye synchronously, ignoring failures. The endpoint sends nothing after it.
    ///
    /// Threads: I/O. Waits until the kernel accepts the datagram, until the stop gives up, or for
    /// kMaxStopWait.
    void SendBye();

    /// Cancels all waits and closes the socket.
    ///
    /// @param final  false: for a restart. Threads: I/O, or manager in the first Restart.
    ///               true: for good. Waits for the I/O thread to do it, for kMaxStopWait at most,
    ///               then abandons a blocked Bye. Threads: manager.
    void StopOperations(bool final);

    /// Returns whether the I/O thread still has work on this endpoint. Thread-safe.
    bool Busy() const { return pendingReceives > 0 || pendingOps > 0; }

    CDiscoverySoap* soap = nullptr;   ///< not owned; null: nothing is announced or answered
    kx::log::ICoreLog* log = nullptr; ///< not owned; null: messages go to standard output

private:
    friend struct DiscoveryUdpPeer; ///< lets tests call a handler with any error

    /// Shared by a send and all its retries.
    using Message = boost::shared_ptr<std::string>;

    // Threads of the private functions: I/O, except where noted.

    // Set-up, back-off and teardown (discovery_udp.cpp). The first Restart runs SetUpSocket,
    // BindToDevice, JoinGroup, ScheduleRetry and CloseSocketAndTimers on the manager's thread.
    bool SetUpSocket();
    bool BindToDevice();
    void JoinGroup(boost::system::error_code& error);
    void ScheduleRetry();
    void OnRetryTimer(const boost::system::error_code& error);
    void CloseSocketAndTimers();

    // The watchdog of the group membership (discovery_udp_watchdog.cpp): joins the group again when
    // no Hello or Probe has arrived within kWatchdogPeriod.
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
    Message MakeHello(); ///< Threads: I/O, or manager in the first Restart
    void SendMessage(const Message& message);
    void OnSendComplete(const Message& message, const boost::system::error_code& error);

    /// The socket and the timers are being torn down; cleared by Restart.
    std::atomic<bool> closing{false};
    /// Stopped for good: no handler arms a timer or restarts any more.
    std::atomic<bool> stopping{false};
    /// The Bye was sent, failed or was skipped, or is to be abandoned; no further attempt begins.
    std::atomic<bool> byeDone{false};
    std::atomic<std::int32_t> pendingReceives{0};
    /// Operations of every kind: receives, sends, timer waits, the final teardown.
    std::atomic<std::int32_t> pendingOps{0};

    boost::asio::io_context& ioService;
    const AdapterRecord adapter;
    const EndpointDescription description;
    const std::int32_t multicastEnabled;
    const boost::asio::ip::address_v4 groupAddress;
    const std::uint16_t port;
    const boost::asio::ip::udp::endpoint groupEndpoint;
    /// The adapter's address: the interface of the group membership.
    const boost::asio::ip::udp::endpoint localEndpoint;

    boost::asio::ip::udp::socket socket;
    boost::asio::ip::udp::endpoint senderEndpoint;
    /// Where the latest send went; retries of any message go there too.
    boost::asio::ip::udp::endpoint sendDestination;
    /// One byte longer than the longest received datagram, for a NUL after it.
    std::vector<char> receiveBuffer;

    bool restartPending = false;
    std::int32_t retryDelaySeconds;
    boost::asio::steady_timer retryTimer;
    /// Failed sends in a row, across messages and restarts.
    std::int32_t sendRetryCount = 0;
    /// Re-joins since the endpoint was constructed.
    std::int32_t rejoinCount = 0;
    /// A Hello or a Probe was received since the last Restart.
    bool activitySeen = false;
    boost::asio::steady_timer activityTimer;
};

/// Returns whether an error reports that the operation was cancelled. Thread-safe.
bool WasCancelled(const boost::system::error_code& error);

} // namespace kx
