#include "discovery_udp.h"

#include "discovery_group.h"
#include "recorder_socket.h"
#include "report.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/error.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/asio/post.hpp>
#include <boost/make_shared.hpp>

#include <cerrno>
#include <cstdio>
#include <future>
#include <net/if.h>
#include <sys/socket.h>

using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::kLogWarning;
using log::Report;

namespace {

// Seconds of back-off before a restart: 3, 6, 12, ... 192, 384, and 384 from then on. A delay of at
// most kRetryDoublingBound is doubled.
constexpr std::int32_t kFirstRetryDelay = 3;
constexpr std::int32_t kRetryDoublingBound = 299;

/// The Windows error code ERROR_CONNECTION_ABORTED. No error number of Linux has this value, so
/// only a test produces it.
constexpr int kAbortedValue = 1236;

} // namespace

bool WasCancelled(const error_code& error)
{
    return error == boost::asio::error::operation_aborted;
}

CDiscoveryUdp::CDiscoveryUdp(boost::asio::io_context& service, const AdapterRecord& record,
                             const EndpointDescription& advertised, std::int32_t multicast,
                             const std::string& group, std::uint16_t discoveryPort)
    : ioService(service),
      adapter(record),
      description(advertised),
      multicastEnabled(multicast),
      groupAddress(make_address_v4(group)),
      port(discoveryPort),
      groupEndpoint(groupAddress, port),
      localEndpoint(make_address_v4(record.ipAddress), multicastEnabled ? port : 0),
      socket(ioService),
      receiveBuffer(kRecorderReadSize + sizeof('\0')),
      retryDelaySeconds(kFirstRetryDelay),
      retryTimer(ioService),
      activityTimer(ioService)
{
}

CDiscoveryUdp::~CDiscoveryUdp() // NOLINT(bugprone-exception-escape): see the declaration
{
    CloseSocketAndTimers();
}

void CDiscoveryUdp::Restart()
{
    activitySeen = false;
    closing = false;
    Report(log, kLogInfo, "Restarting discovery on interface ", adapter.ipAddress);

    if (!SetUpSocket()) {
        ScheduleRetry();
        return;
    }
    // The I/O thread starts the operations. If the manager's thread started them in the first
    // Restart, their handlers could run while that thread still uses the same fields. `pendingOps`
    // need not count this handler: a stop waits for the teardown, which is posted later and so runs
    // after it.
    boost::asio::dispatch(ioService, [this, hello = MakeHello()] {
        if (stopping)
            return;
        if (multicastEnabled)
            ArmActivityTimer();
        StartReceive();
        if (hello)
            SendMessage(hello);
    });
}

/// Logs each failure. Tolerates a failure to set the TTL or the receive buffer; returns false after
/// any other failure.
bool CDiscoveryUdp::SetUpSocket()
{
    error_code error;
    socket.open(localEndpoint.protocol(), error);
    if (error) {
        Report(log, kLogError, "Failed to open listening socket on ", adapter.ipAddress,
               ". Error: ", error.message(), " (", error, ")");
        return false;
    }
    if (!BindToDevice())
        return false;

    socket.set_option(udp::socket::reuse_address(true), error);
    if (error) {
        Report(log, kLogError,
               "Failed to set socket option SO_REUSEADDR. Error: ", error.message());
        return false;
    }
    socket.set_option(boost::asio::ip::multicast::hops(kMulticastTtl), error);
    if (error) {
        Report(log, kLogWarning, "Failed to set IP_MULTICAST_TTL=", kMulticastTtl, ". Error (",
               error, "): ", error.message());
    }
    socket.set_option(udp::socket::receive_buffer_size(kRecorderBufferSize), error);
    if (error) {
        Report(log, kLogWarning, "Failed to set SO_RCVBUF=1MB. Error (", error,
               "): ", error.message());
    }
    // Bound to the wildcard address: a socket bound to the adapter's address receives nothing that
    // is sent to the group.
    socket.bind(udp::endpoint(localEndpoint.protocol(), localEndpoint.port()), error);
    if (error) {
        Report(log, kLogError, "Failed to bind socket. Error (", error, "): ", error.message());
        return false;
    }
    if (!multicastEnabled)
        return true;

    JoinGroup(error);
    if (error) {
        Report(log, kLogError, "Failed to set IP_ADD_MEMBERSHIP. Error (", error,
               "): ", error.message());
        return false;
    }
    // tools/soak/report.awk finds this text in the log and reads the address at its end.
    Report(log, kLogInfo, "Joined multicast group ", groupAddress, " on ", adapter.ipAddress);
    return true;
}

bool CDiscoveryUdp::BindToDevice()
{
    ifreq request{};
    static_assert(sizeof(request) == 40);
    static_assert(sizeof(request.ifr_name) == 16);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-security"
    // Deliberate: the device name is used as a format. If it were copied instead, a name with a "%"
    // would select another device than the one that installed servers rely on. The name comes from
    // the server, never from the network.
    std::snprintf(request.ifr_name, sizeof(request.ifr_name), adapter.handle.c_str());
#pragma GCC diagnostic pop
    if (setsockopt(socket.native_handle(), SOL_SOCKET, SO_BINDTODEVICE, &request, sizeof(request)) <
        0) {
        const int error = errno;
        Report(log, kLogError, "Error binding to socket using SO_BINDTODEVICE: ", error);
        return false;
    }
    return true;
}

void CDiscoveryUdp::JoinGroup(error_code& error)
{
    socket.set_option(
        boost::asio::ip::multicast::join_group(groupAddress, localEndpoint.address().to_v4()),
        error);
}

void CDiscoveryUdp::ScheduleRetry()
{
    restartPending = true;
    // scripts/memcheck searches the log for this text.
    Report(log, kLogInfo, "Retrying on interface ", adapter.ipAddress);
    StopOperations(false);
    retryTimer.expires_after(std::chrono::seconds(retryDelaySeconds));
    if (stopping)
        return;
    retryTimer.async_wait([this](const error_code& error) { OnRetryTimer(error); });
    ++pendingOps;
}

// waiting --cancelled or stopping--> idle
//         --wait failed-----------> waiting again
//         --expired---------------> Restart
// The last two double the delay first, see kRetryDoublingBound.
void CDiscoveryUdp::OnRetryTimer(const error_code& error)
{
    --pendingOps;
    restartPending = false;

    // Deliberate: an error with kAbortedValue counts as cancelled, whatever its category. As a
    // failed wait it would double the delay and schedule another restart.
    if (stopping || WasCancelled(error) || error.value() == kAbortedValue)
        return;

    // Deliberate: nothing resets the delay. If a successful restart did, an endpoint whose sends or
    // receives fail again and again would send a Hello every three seconds.
    if (retryDelaySeconds <= kRetryDoublingBound)
        retryDelaySeconds *= 2;

    if (error)
        ScheduleRetry();
    else
        Restart();
}

void CDiscoveryUdp::StopOperations(bool final)
{
    Report(log, kLogInfo, "Stopping all socket and timer operations on ", adapter.ipAddress, ":",
           port);
    if (!final) {
        closing = true;
        CloseSocketAndTimers();
        return;
    }
    stopping = true;
    closing = true;

    // Runs after the Bye and after any handler that saw the flags unset: see the class comment.
    const auto tornDown = boost::make_shared<std::promise<void>>();
    boost::asio::post(ioService, [this, tornDown] {
        CloseSocketAndTimers();
        tornDown->set_value();
        --pendingOps;
    });
    ++pendingOps;
    tornDown->get_future().wait_for(kMaxStopWait);

    // If the wait has timed out, the I/O thread is blocked in the host's callback or in a Bye. The
    // flag abandons the Bye, so that the teardown can run.
    byeDone = true;
}

void CDiscoveryUdp::CloseSocketAndTimers()
{
    activityTimer.cancel();
    retryTimer.cancel();
    if (!socket.is_open())
        return;
    error_code ignored;
    socket.cancel(ignored);
    socket.shutdown(udp::socket::shutdown_both, ignored);
    socket.close(ignored);
}

} // namespace kx
