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

/// The Windows error code ERROR_MORE_DATA: a datagram was longer than the buffer. Any other error
/// would begin back-off. On Linux only a test produces this code: Linux truncates such a datagram
/// and reports no error.
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
//           --Probe to be answered-> sending; OnSendComplete starts the next receive
//           --other datagram-------> receiving
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
    // MayMatch saves the parsing of most datagrams. Until a Hello or a Probe was received, every
    // datagram is parsed, because the watchdog needs its action.
    if (multicastEnabled && soap &&
        (!activitySeen || soap->MayMatch(receiveBuffer.data(), length)) &&
        soap->ParseProbe(receiveBuffer.data(), length, messageId, typesText, action) == 1 &&
        IsAnswerable(senderEndpoint)) {
        NoteActivity();
        AnswerProbe(messageId, typesText);
        return;
    }
    // A Hello or a Probe normally comes to the group, so it counts as a sign that the membership
    // works.
    // Deliberate: no other action counts. An answer (ProbeMatches) arrives by unicast even without
    // a membership. If it counted, the watchdog would not join the group again.
    if (!activitySeen && (EndsWith(action, "Hello") || EndsWith(action, "Probe")))
        NoteActivity();
    StartReceive();
}

/// Deliberate: does not wait for the random delay of WS-Discovery (April 2005) 2.4. Clients with a
/// short timeout would miss a delayed answer.
///
/// Deliberate: answers a repeated Probe. A client whose answer was lost would otherwise never get
/// one.
///
/// Deliberate: leaves the next receive to OnSendComplete. If it were started here, the next answer
/// could change `sendDestination` while this one is being sent, and a retry of this one would go to
/// the wrong client.
void CDiscoveryUdp::AnswerProbe(const std::string& messageId, const std::string& typesText)
{
    // Faster than operator<< of udp::endpoint, which needs a stream. For IPv4 both give the same.
    const std::string prober =
        Compose(senderEndpoint.address().to_string(), ":", senderEndpoint.port());
    // scripts/soak recognises this record by "Probe"; scripts/soak and scripts/memcheck recognise
    // the one below by "Send ProbeMatch".
    Report(log, kLogInfo, "Probe ", messageId, " for ", typesText, " from ", prober);
    const auto answer = boost::make_shared<std::string>();
    soap->ProbeMatches(messageId, description, *answer);
    sendDestination = senderEndpoint;
    Report(log, kLogInfo, "Send ProbeMatch to ", prober);
    SendMessage(answer);
}

} // namespace kx
