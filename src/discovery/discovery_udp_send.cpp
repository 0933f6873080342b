#include "discovery_udp.h"
#include "report.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/error.hpp>
#include <boost/make_shared.hpp>

#include <poll.h>

using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::Report;

namespace {

/// Failed sends in a row after which each further failure restarts the endpoint.
constexpr std::int32_t kFailuresBeforeRestart = 3;

} // namespace

void CDiscoveryUdp::SendHello()
{
    if (const Message hello = MakeHello())
        SendMessage(hello);
}

/// Builds the Hello and sets its destination for the next SendMessage; null without a codec.
CDiscoveryUdp::Message CDiscoveryUdp::MakeHello()
{
    if (!soap)
        return nullptr;
    auto hello = boost::make_shared<std::string>();
    soap->Hello(description, *hello);
    // benchmarks/plugin_host.cpp, scripts/demo, memcheck and try-installed rely on the text.
    Report(log, kLogInfo, "Sending Hello to ", groupEndpoint);
    sendDestination = groupEndpoint;
    return hello;
}

void CDiscoveryUdp::SendBye()
{
    // Nothing may follow the Bye: no later handler may announce, answer or treat the cancellation
    // as a failure, and a message that still waits to be sent is cancelled.
    stopping = true;
    error_code ignored;
    socket.cancel(ignored);

    if (!soap) {
        byeDone = true;
        return;
    }
    std::string bye;
    soap->Bye(description, bye);
    Report(log, kLogInfo, "Sending Bye to ", groupEndpoint);
    sendDestination = groupEndpoint;

    // Polls instead of blocking, so that a timeout or StopOperations can end the send without
    // closing the descriptor under the call. On a closed socket non_blocking fails.
    error_code error;
    socket.non_blocking(true, error);
    const auto end = std::chrono::steady_clock::now() + kMaxStopWait;
    while (!error && !byeDone && std::chrono::steady_clock::now() < end) {
        socket.send_to(boost::asio::buffer(bye), groupEndpoint, 0, error);
        if (error != boost::asio::error::would_block)
            break;
        pollfd writable{socket.native_handle(), POLLOUT, 0};
        poll(&writable, 1, static_cast<int>(kPollInterval.count()));
        error.clear();
    }
    byeDone = true;
}

void CDiscoveryUdp::SendMessage(const Message& message)
{
    socket.async_send_to(boost::asio::buffer(*message), sendDestination,
                         [this, message](const error_code& error, std::size_t /*sent*/) {
                             OnSendComplete(message, error);
                         });
    ++pendingOps;
}

// sending --stopping or closing--> idle
//         --failed---------------> sending the same message again; from the fourth failure in a row
//                                  on, or when the socket is closed, after scheduling a restart
//         --sent-----------------> idle
// In the last two cases receiving resumes if it waited for this send.
void CDiscoveryUdp::OnSendComplete(const Message& message, const error_code& error)
{
    --pendingOps;
    if (stopping || closing)
        return;

    if (error.value() != 0) {
        const auto destination = sendDestination;
        Report(log, kLogError, "Send Error: ", error.message(), "(", error.value(),
               "), sending to ", destination);
        if (!socket.is_open() || sendRetryCount >= kFailuresBeforeRestart)
            ScheduleRetry();
        ++sendRetryCount;
        // Deliberate: retried also after ScheduleRetry closed the socket; otherwise the log would
        // lack this record. That send fails, and its handler ends it because `closing` is set.
        Report(log, kLogInfo, "Retrying send to destination: ", destination.address());
        SendMessage(message);
    } else {
        // Deliberate: only a success resets this count. If a restart did, an endpoint that cannot
        // send would make and log four attempts after each back-off instead of one.
        sendRetryCount = 0;
    }
    if (pendingReceives <= 0)
        StartReceive();
}

} // namespace kx
