#include "answerable.h"
#include "discovery_udp.h"
#include "recorder_socket.h"
#include "report.h"
#include "text.h"

#include <boost/asio/buffer.hpp>
#include <boost/make_shared.hpp>

using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::Report;

namespace {

/// ERROR_MORE_DATA of Windows: the datagram did not fit. Linux truncates it instead. Compared
/// without its category.
constexpr int kReceiveTooSmall = 234;

} // namespace

void CDiscoveryUdp::StartReceive()
{
    socket.async_receive_from(
        boost::asio::buffer(receiveBuffer.data(), kRecorderReadSize), senderEndpoint,
        [this](const error_code& error, std::size_t length) { OnReceive(error, length); });
    ++pendingReceives;
    ++pendingOps;
}

// receiving --stopping or closing--> idle
//           --datagram-------------> receiving, or sending; then OnSendComplete resumes receiving
//           --too large------------> receiving
//           --failed---------------> back-off
void CDiscoveryUdp::OnReceive(const error_code& error, std::size_t length)
{
    --pendingReceives;
    --pendingOps;
    if (stopping || closing)
        return;

    if (error.value() == 0) {
        OnDatagram(length);
    } else if (error.value() == kReceiveTooSmall) {
        Report(log, kLogInfo, "Buffer is too small for the message from ", senderEndpoint,
               ". Ignoring message");
        StartReceive();
    } else {
        Report(log, kLogError, "Receive Error: ", error.message(), " (", error.value(), ")");
        if (!restartPending)
            ScheduleRetry();
    }
}

void CDiscoveryUdp::OnDatagram(std::size_t length)
{
    receiveBuffer[length] = '\0';
    std::string messageId;
    std::string typesText;
    std::string action;
    // Until the group membership is known to work, every datagram is parsed, for its action.
    if (multicastEnabled && soap &&
        (!activitySeen || soap->MayMatch(receiveBuffer.data(), length)) &&
        soap->ParseProbe(receiveBuffer.data(), length, messageId, typesText, action) == 1 &&
        IsAnswerable(senderEndpoint)) {
        NoteActivity();
        AnswerProbe(messageId, typesText);
        return;
    }
    // Any Hello or Probe, the endpoint's own Hello included, shows that the membership works.
    // Deliberate: no other action does. Answers arrive by unicast: if they counted, a broken
    // membership would not be joined again.
    if (!activitySeen && (EndsWith(action, "Hello") || EndsWith(action, "Probe")))
        NoteActivity();
    StartReceive();
}

/// Sends the answer to the source of the Probe.
///
/// Deliberate: without the random delay of WS-Discovery (April 2005) 2.4, and also to a Probe that
/// is repeated. Clients with a short timeout would miss a delayed answer, and clients that repeat a
/// Probe because an answer was lost would get none.
///
/// Deliberate: starts no receive, which is left to OnSendComplete. With a receive started here, the
/// next answer would change `sendDestination` before this one is sent or fails.
void CDiscoveryUdp::AnswerProbe(const std::string& messageId, const std::string& typesText)
{
    // Faster than the endpoint's operator<<, which needs a stream and prints the same for IPv4.
    const std::string prober =
        Compose(senderEndpoint.address().to_string(), ":", senderEndpoint.port());
    // scripts/soak relies on the first words of this record; it and scripts/memcheck rely on "Send
    // ProbeMatch" below.
    Report(log, kLogInfo, "Probe ", messageId, " for ", typesText, " from ", prober);
    const auto answer = boost::make_shared<std::string>();
    soap->ProbeMatches(messageId, description, *answer);
    sendDestination = senderEndpoint;
    Report(log, kLogInfo, "Send ProbeMatch to ", prober);
    SendMessage(answer);
}

} // namespace kx
