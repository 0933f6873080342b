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

/// After this many failed sends in a row, each further failed send restarts the endpoint.
constexpr std::int32_t kFailuresBeforeRestart = 3;

} // namespace

void CDiscoveryUdp::SendHello()
{
    if (const Message hello = MakeHello())
        SendMessage(hello);
}

/// Builds and logs a Hello and sets `sendDestination`; the caller passes the Hello to SendMessage.
/// Returns null if `soap` is null.
CDiscoveryUdp::Message CDiscoveryUdp::MakeHello()
{
    if (!soap)
        return nullptr;
    auto hello = boost::make_shared<std::string>();
    soap->Hello(description, *hello);
    // benchmarks/plugin_host.cpp, scripts/demo, scripts/memcheck and scripts/try-installed search
    // the log for this text.
    Report(log, kLogInfo, "Sending Hello to ", groupEndpoint);
    sendDestination = groupEndpoint;
    return hello;
}

void CDiscoveryUdp::SendBye()
{
    // So that nothing follows the Bye, cancel() ends a send that is still waiting. With `stopping`
    // set, later handlers send nothing and do not take cancelled operations for failures.
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

    // Polls instead of blocking, so that StopOperations can abandon a send that waits for space in
    // the send buffer. If the socket is closed, non_blocking fails and nothing is sent.
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
//         --failed---------------> sending the same message again. From the fourth failure in a
//                                  row on, or when the socket is closed, this handler schedules a
//                                  restart first.
//         --sent-----------------> idle
// In the last two cases a receive is started if none is pending: AnswerProbe leaves the next
// receive to this handler.
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
        // Deliberate: also after ScheduleRetry has closed the socket. So this record follows every
        // "Send Error", and a retry follows every such record. That retry fails, and its handler
        // only decrements `pendingOps`, because `closing` is set.
        Report(log, kLogInfo, "Retrying send to destination: ", destination.address());
        SendMessage(message);
    } else {
        // Deliberate: only a successful send resets this count. If a restart did too, an endpoint
        // that cannot send would log four failed attempts after each back-off instead of one.
        sendRetryCount = 0;
    }
    if (pendingReceives <= 0)
        StartReceive();
}

} // namespace kx
