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

/// Time between two checks while StopAll waits for the end of all operations, or SendBye for space
/// in the socket's send buffer.
inline constexpr std::chrono::milliseconds kPollInterval{10};
/// Maximum time that SendBye tries to send, and that StopOperations waits for the teardown: 0.49 s.
/// Each endpoint whose Bye is blocked delays a stop by up to this time.
inline constexpr auto kMaxStopWait = 49 * kPollInterval;

/// The discovery endpoint of one network adapter: announces the recorder there, answers Probes and
/// opens its socket again after failures. Its watchdog joins the multicast group again if neither a
/// Hello nor a Probe arrives.
///
///     constructed --Restart--> listening: receive pending, watchdog armed, Hello sent
///     listening --receive failed, or 4th or later failed send in a row--> back-off: socket closed
///     Restart --socket cannot be set up--> back-off: socket closed
///     back-off --retry timer--> Restart
///     any --StopOperations(true)--> stopped for good
///
/// Threads: the manager's thread runs the constructor, the first Restart, StopOperations(true) and
/// Busy; the destructor may run on any thread; everything else runs on the I/O thread. The first
/// Restart hands the start of all operations to the I/O thread or, if the socket cannot be set up,
/// starts the retry timer. Of the fields that change, the two threads share only the atomic ones
/// from then on.
///
/// Teardown: StopOperations(true) sets `stopping` and `closing`, then posts the teardown to the I/O
/// thread. A handler that checked the flags before they were set can still open a socket or start a
/// timer. The teardown runs after that handler on the same thread: it closes that socket and
/// cancels that timer, and no system call is using the descriptor meanwhile.
///
/// Counting: `pendingOps` counts the outstanding asynchronous operations and the posted teardown.
/// The manager releases an endpoint only when the count is 0.
///  - A completion handler decrements the count first, the teardown last, so that the endpoint
///    stays busy until the teardown is complete.
///  - The count is incremented after the operation is started. If the start throws std::bad_alloc,
///    no handler would undo an earlier increment, and a stop would wait forever.
///  - No completion handler runs before that increment: the I/O thread is still running the code
///    that started the operation, or the manager's thread has started the retry timer, which takes
///    seconds. The teardown can run before it is counted. The count is then too low by one for a
///    moment, which is harmless: only the manager's thread reads it, after StopOperations.
class CDiscoveryUdp {
public:
    /// @param ioService         outlives the endpoint
    /// @param adapter           log messages name the endpoint by its ipAddress
    /// @param multicastEnabled  not 0: does everything; the plug-in always passes 1. 0, only in
    ///                          tests: sends a Hello and a Bye from an ephemeral port, does not
    ///                          join the group and answers nothing
    /// @param groupAddress      IPv4 dotted text
    /// @param port              local and of the group
    ///
    /// Errors: std::bad_alloc; boost::system::system_error: EINVAL when an address is not IPv4
    /// dotted text, another code when the I/O service cannot create its own descriptors (epoll(7))
    /// for its first endpoint.
    CDiscoveryUdp(boost::asio::io_context& ioService, const AdapterRecord& adapter,
                  const EndpointDescription& description, std::int32_t multicastEnabled,
                  const std::string& groupAddress, std::uint16_t port);
    CDiscoveryUdp(const CDiscoveryUdp&) = delete;
    CDiscoveryUdp& operator=(const CDiscoveryUdp&) = delete;

    /// Closes the socket and cancels the timers. Sends and logs nothing.
    ///
    /// Threads: any, after the last handler of the endpoint has returned.
    ~CDiscoveryUdp(); // NOLINT(bugprone-exception-escape): cancelling a timer cannot fail

    /// Opens the socket on the adapter's device, joins the group (socket(7), ip(7)), starts
    /// receiving and sends a Hello. If the socket cannot be set up, logs the failure and begins
    /// back-off.
    ///
    /// Threads: manager for the first call of an endpoint, I/O for the others.
    void Restart();

    /// Sends one Bye synchronously and ignores failures. The endpoint sends nothing after it. Stops
    /// trying after kMaxStopWait, or when StopOperations abandons the Bye.
    ///
    /// Threads: I/O.
    void SendBye();

    /// Cancels the timers and closes the socket.
    ///
    /// @param final  false: does this before it returns; back-off follows. Threads: I/O, or manager
    ///               in the first Restart.
    ///               true: for good. Posts this work to the I/O thread, after the Bye that StopAll
    ///               posted there, and waits for it, for kMaxStopWait at most. Then SendBye gives
    ///               up, so that a blocked Bye delays the work no longer. Threads: manager.
    void StopOperations(bool final);

    /// Returns whether an asynchronous operation or the teardown is outstanding. When it returns
    /// false, the last handler may still be running. Thread-safe.
    bool Busy() const { return pendingReceives > 0 || pendingOps > 0; }

    CDiscoverySoap* soap = nullptr;   ///< not owned; null: nothing is announced or answered
    kx::log::ICoreLog* log = nullptr; ///< not owned; null: messages go to standard output

private:
    friend struct DiscoveryUdpPeer; ///< tests use it to call a private handler with any error

    /// Each pending send holds a pointer to its text.
    using Message = boost::shared_ptr<std::string>;

    // Threads of all private functions: I/O, unless a comment says otherwise.

    // Set-up, back-off and teardown, in discovery_udp.cpp. In the first Restart, all of them but
    // OnRetryTimer run on the manager's thread. The destructor calls CloseSocketAndTimers on any
    // thread.
    bool SetUpSocket();
    bool BindToDevice();
    void JoinGroup(boost::system::error_code& error);
    void ScheduleRetry();
    void OnRetryTimer(const boost::system::error_code& error);
    void CloseSocketAndTimers();

    // The watchdog of the group membership, in discovery_udp_watchdog.cpp.
    void ArmActivityTimer();
    void NoteActivity();
    void OnActivityTimer(const boost::system::error_code& error);

    // Receiving and answering, in discovery_udp_receive.cpp.
    void StartReceive();
    void OnReceive(const boost::system::error_code& error, std::size_t length);
    void OnDatagram(std::size_t length);
    void AnswerProbe(const std::string& messageId, const std::string& typesText);

    // Announcing and sending, in discovery_udp_send.cpp.
    void SendHello();
    Message MakeHello(); ///< Threads: I/O, or manager in the first Restart
    void SendMessage(const Message& message);
    void OnSendComplete(const Message& message, const boost::system::error_code& error);

    /// Set before the socket is closed, cleared by Restart. While set, the handlers of receives, of
    /// sends and of the watchdog only decrement the counts.
    std::atomic<bool> closing{false};
    /// Set when the endpoint is stopped for good, never cleared. Handlers then start no operation
    /// and no restart.
    std::atomic<bool> stopping{false};
    /// Makes SendBye try no more. Set when the Bye was sent, failed or was skipped, and by
    /// StopOperations to abandon it.
    std::atomic<bool> byeDone{false};
    std::atomic<std::int32_t> pendingReceives{0};
    /// See the class comment.
    std::atomic<std::int32_t> pendingOps{0};

    boost::asio::io_context& ioService;
    const AdapterRecord adapter;
    const EndpointDescription description;
    const std::int32_t multicastEnabled;
    const boost::asio::ip::address_v4 groupAddress;
    const std::uint16_t port;
    const boost::asio::ip::udp::endpoint groupEndpoint;
    /// The local port, and the adapter's address, which is used only to select the interface of the
    /// group membership.
    const boost::asio::ip::udp::endpoint localEndpoint;

    boost::asio::ip::udp::socket socket;
    boost::asio::ip::udp::endpoint senderEndpoint;
    /// Where the latest message goes. Every retry goes there too, even one of an earlier message.
    boost::asio::ip::udp::endpoint sendDestination;
    /// kRecorderReadSize bytes, and one for the NUL that OnDatagram writes after a datagram.
    std::vector<char> receiveBuffer;

    bool restartPending = false;
    std::int32_t retryDelaySeconds;
    boost::asio::steady_timer retryTimer;
    /// Failed sends since the last successful send.
    std::int32_t sendRetryCount = 0;
    /// Number of times that the watchdog has joined the group again.
    std::int32_t rejoinCount = 0;
    /// A Hello or a Probe was received since the last Restart.
    bool activitySeen = false;
    boost::asio::steady_timer activityTimer;
};

/// Returns whether an error means that the operation was cancelled (ECANCELED). Thread-safe.
bool WasCancelled(const boost::system::error_code& error);

} // namespace kx
