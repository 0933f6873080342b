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
    if (!soap) {
        byeDone = true;
        return;
    }
    std::string bye;
    soap->Bye(description, bye);
    Report(log, kLogInfo, "Sending Bye to ", groupEndpoint);
    sendDestination = groupEndpoint;
    if (!socket.is_open()) {
        byeDone = true;
        return;
    }
    // A socket that would block is waited for in short slices: only so can the stop give up this
    // Bye by setting byeDone, without touching a descriptor that is in use here.
    error_code error;
    socket.non_blocking(true, error);
    while (!byeDone) {
        socket.send_to(boost::asio::buffer(bye), groupEndpoint, 0, error);
        if (error != boost::asio::error::would_block)
            break;
        pollfd writable{socket.native_handle(), POLLOUT, 0};
        poll(&writable, 1, static_cast<int>(kPollInterval.count()));
    }
    byeDone = true;
}

void CDiscoveryUdp::SendMessage(const Message& message)
{
    ++pendingOps;
    socket.async_send_to(boost::asio::buffer(*message), sendDestination,
                         [this, message](const error_code& error, std::size_t /*sent*/) {
                             OnSendComplete(message, error);
                         });
}

// sending --stopping or closing--> idle
//         --failed---------------> sending the same again, from the fourth in a row on with a
//                                  restart of the endpoint under way
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
