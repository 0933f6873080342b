#include "prober.h"

#include <utility>

using boost::asio::ip::udp;
using std::chrono::steady_clock;
using std::chrono::system_clock;

namespace kx::tools {

CProber::CProber(boost::asio::io_context& ioService, const Adapter& adapter, bool watch,
                 OnHeard handler)
    : adapterName(adapter.name),
      watching(watch),
      onHeard(std::move(handler)),
      probing(ioService, adapter,
              [this](const auto& message, const auto& source) { OnAnswer(message, source); }),
      group(ioService, adapter,
            [this](const auto& message, const auto& source) { OnAnnouncement(message, source); }),
      sendTimer(ioService)
{
    probing.OpenForProbing();
    if (watching)
        group.OpenForGroup();
}

void CProber::Start(const ProbeMessage& message, const ProbeSchedule& schedule)
{
    probe = message;
    remaining = schedule;
    Send();
    probing.StartReceive();
    if (watching)
        group.StartReceive();
}

void CProber::Send()
{
    sentAt = steady_clock::now();
    probing.SendToGroup(probe.text);
    if (--remaining.times == 0)
        return;
    sendTimer.expires_after(remaining.interval);
    // Nobody cancels the wait: it ends by its time.
    sendTimer.async_wait([this](const boost::system::error_code& /*error*/) { Send(); });
}

void CProber::OnAnswer(const std::optional<Message>& message, const udp::endpoint& source)
{
    const auto roundTrip = steady_clock::now() - sentAt;
    if (!message) {
        ++malformed;
    } else if (message->kind == Message::Kind::kProbeMatches &&
               RelatesTo(*message, probe.identifier)) {
        for (const Device& device : message->devices)
            onHeard(message->kind, {device, adapterName, source, system_clock::now(), roundTrip});
    }
}

void CProber::OnAnnouncement(const std::optional<Message>& message, const udp::endpoint& source)
{
    if (!message || message->kind == Message::Kind::kProbeMatches)
        return;
    for (const Device& device : message->devices)
        onHeard(message->kind, {device, adapterName, source, system_clock::now(), std::nullopt});
}

} // namespace kx::tools
