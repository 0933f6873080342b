#include "prober.h"

#include <algorithm>
#include <net/if.h>
#include <optional>
#include <utility>

using boost::asio::ip::udp;
using std::chrono::steady_clock;
using std::chrono::system_clock;

namespace kx::tools {
namespace {

/// Maximum of different Resolves between two calls of Ask. Each message without XAddrs makes us
/// send one, normally to the group: forged ones could otherwise make us flood the network.
constexpr std::size_t kMaxResolves = 100;

bool IsAnswer(Message::Kind kind)
{
    return kind == Message::Kind::kProbeMatches || kind == Message::Kind::kResolveMatches;
}

} // namespace

IgnoredCounts& IgnoredCounts::operator+=(const IgnoredCounts& other)
{
    otherProbe += other.otherProbe;
    for (std::size_t index = 0; index < unread.size(); ++index)
        unread[index] += other.unread[index];
    return *this;
}

CProber::CProber(boost::asio::io_context& ioService, CReceiver& receiver,
                 const Adapter& usedAdapter, const udp::endpoint& probeDestination, bool watching,
                 OnHeard handler)
    : adapter(usedAdapter),
      destination(probeDestination),
      listening(watching && destination.address().is_multicast()),
      onHeard(std::move(handler)),
      probing(ioService, receiver, adapter,
              [this](const Datagram& datagram) { OnAnswer(datagram); }),
      group(ioService, receiver, adapter,
            [this](const Datagram& datagram) { OnAnnouncement(datagram); }),
      sendTimer(ioService)
{
    probing.OpenForProbing();
    if (listening)
        group.OpenForGroup();
}

void CProber::Start()
{
    probing.StartReceive();
    if (listening)
        group.StartReceive();
}

void CProber::Ask(const std::vector<ClientMessage>& messages, const ProbeSchedule& schedule)
{
    probes = messages;
    resolves.clear();
    sentTimes.clear();
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

std::uint64_t CProber::DroppedCount()
{
    return std::uint64_t{probing.DroppedCount()} + group.DroppedCount();
}

void CProber::Send()
{
    // The timer of an earlier Ask may still call this function: an Ask that sends only once leaves
    // that timer running, and Close cannot cancel a timer that has expired.
    if (remaining.times == 0)
        return;
    --remaining.times;
    sentTimes.push_back(steady_clock::now());
    for (const ClientMessage& each : probes)
        probing.Send(each.text, destination);
    for (const auto& each : resolves)
        probing.Send(each.second.text, destination);
    if (remaining.times == 0)
        return;
    sendTimer.expires_after(remaining.interval);
    sendTimer.async_wait([this, self = shared_from_this()](const boost::system::error_code& error) {
        if (!error)
            Send();
    });
}

void CProber::Resolve(const std::string& address)
{
    if (resolves.size() >= kMaxResolves || resolves.count(address) > 0)
        return;
    const ClientMessage& message = resolves[address] = MakeResolve(address);
    probing.Send(message.text, destination);
}

bool CProber::AnswersUs(const Message& message) const
{
    if (message.kind == Message::Kind::kProbeMatches)
        return std::any_of(probes.begin(), probes.end(), [&](const ClientMessage& each) {
            return RelatesTo(message, each.identifier);
        });
    return std::any_of(resolves.begin(), resolves.end(), [&](const auto& each) {
        return RelatesTo(message, each.second.identifier);
    });
}

void CProber::OnAnswer(const Datagram& datagram)
{
    const auto read = ReadMessage(datagram.data.data(), datagram.data.size());
    const auto* message = std::get_if<Message>(&read);
    if (!message)
        ++ignored.unread[static_cast<std::size_t>(std::get<Unread>(read))];
    else if (!IsAnswer(message->kind))
        ++ignored.unread[static_cast<std::size_t>(Unread::kOtherMessage)];
    else if (!AnswersUs(*message))
        ++ignored.otherProbe;
    else
        HandOver(*message, datagram);
}

void CProber::OnAnnouncement(const Datagram& datagram)
{
    const auto read = ReadMessage(datagram.data.data(), datagram.data.size());
    const auto* message = std::get_if<Message>(&read);
    if (message && !IsAnswer(message->kind))
        HandOver(*message, datagram);
    // Other kinds are not counted: the Probes of other clients to the group arrive here too.
    else if (!message && std::get<Unread>(read) != Unread::kOtherMessage)
        ++ignored.unread[static_cast<std::size_t>(std::get<Unread>(read))];
}

/// Returns how long an answer took since the latest sending of the Probes before it; nothing if
/// there was none. This is a guess: repetitions are identical, so the answer does not tell which
/// sending it belongs to.
std::optional<steady_clock::duration> CProber::RoundTrip(const Datagram& answer) const
{
    const auto after = std::upper_bound(sentTimes.begin(), sentTimes.end(), answer.receivedAt);
    if (after == sentTimes.begin())
        return std::nullopt;
    return answer.receivedAt - *(after - 1);
}

void CProber::HandOver(const Message& message, const Datagram& datagram)
{
    Heard heard{};
    heard.adapter = adapter.name;
    char name[IF_NAMESIZE];
    if (heard.adapter.empty() && if_indextoname(static_cast<unsigned>(datagram.adapterIndex), name))
        heard.adapter = name;
    heard.source = datagram.source;
    heard.time = system_clock::now() - std::chrono::duration_cast<system_clock::duration>(
                                           steady_clock::now() - datagram.receivedAt);
    heard.relatesTo = message.relatesTo;
    heard.appSequence = message.appSequence;
    if (message.kind == Message::Kind::kProbeMatches)
        heard.roundTrip = RoundTrip(datagram);
    for (const Device& device : message.devices) {
        heard.device = device;
        if (onHeard(message.kind, heard))
            Resolve(device.address);
    }
}

} // namespace kx::tools
