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

void CProber::Start()
{
    probing.StartReceive(shared_from_this());
    if (watching)
        group.StartReceive(shared_from_this());
}

void CProber::Ask(const ClientMessage& message, const ProbeSchedule& schedule)
{
    probe = message;
    remaining = schedule;
    Send();
}

void CProber::Close()
{
    probing.Close();
    group.Close();
    remaining.times = 0;
    sendTimer.cancel();
}

void CProber::Send()
{
    // A wait that was over before another Ask or Close comes here all the same.
    if (remaining.times == 0)
        return;
    --remaining.times;
    sentAt = steady_clock::now();
    probing.SendToGroup(probe.text);
    if (remaining.times == 0)
        return;
    sendTimer.expires_after(remaining.interval);
    sendTimer.async_wait([this, self = shared_from_this()](const boost::system::error_code& error) {
        if (!error)
            Send();
    });
}

void CProber::OnAnswer(const std::variant<Message, Unread>& read, const udp::endpoint& source)
{
    const auto roundTrip = steady_clock::now() - sentAt;
    const auto* message = std::get_if<Message>(&read);
    if (!message) {
        ++malformed;
    } else if (message->kind == Message::Kind::kProbeMatches &&
               RelatesTo(*message, probe.identifier)) {
        for (const Device& device : message->devices)
            onHeard(message->kind, {device, adapterName, source, system_clock::now(), roundTrip});
    }
}

void CProber::OnAnnouncement(const std::variant<Message, Unread>& read, const udp::endpoint& source)
{
    const auto* message = std::get_if<Message>(&read);
    if (!message || message->kind == Message::Kind::kProbeMatches)
        return;
    for (const Device& device : message->devices)
        onHeard(message->kind, {device, adapterName, source, system_clock::now(), std::nullopt});
}

} // namespace kx::tools
