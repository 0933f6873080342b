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

/// More failed sends in a row than this, and the endpoint is restarted.
constexpr std::int32_t kSendRetryLimit = 2;

} // namespace

void CDiscoveryUdp::SendHello()
{
    if (!soap)
        return;
    const auto hello = boost::make_shared<std::string>();
    soap->Hello(description, *hello);
    Report(log, kLogInfo, "Sending Hello to ", groupEndpoint);
    sendDestination = groupEndpoint;
    SendMessage(hello);
}

void CDiscoveryUdp::SendBye()
{
    // The Bye is the last word: what would complete behind it must not announce or answer any more,
    // and what still waits to be sent must not overtake it.
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

    // A send that would block is tried again in short intervals instead of waiting inside the call:
    // only so can it be given up, here or by the stop, without closing a descriptor under it. A
    // closed socket fails here already.
    error_code error;
    socket.non_blocking(true, error);
    const auto end = std::chrono::steady_clock::now() + kStopBound;
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
//         --failed---------------> sending the same again; from the fourth failure in a row on, or
//                                  at once when the socket is closed, with a restart under way
//         --sent-----------------> idle
// In the last two cases receiving goes on if it was held for this send.
void CDiscoveryUdp::OnSendComplete(const Message& message, const error_code& error)
{
    --pendingOps;
    if (stopping || closing)
        return;

    if (error.value() != 0) {
        const auto destination = sendDestination;
        Report(log, kLogError, "Send Error: ", error.message(), "(", error.value(),
               "), sending to ", destination);
        if (!socket.is_open() || sendRetryCount > kSendRetryLimit)
            ScheduleRetry();
        ++sendRetryCount;
        Report(log, kLogInfo, "Retrying send to destination: ", destination.address());
        SendMessage(message);
    } else {
        // Deliberate: nothing else resets it. While sends keep failing over restarts, the first
        // failure of each new message restarts the endpoint at once.
        sendRetryCount = 0;
    }
    if (pendingReceives <= 0)
        StartReceive();
}

} // namespace kx
