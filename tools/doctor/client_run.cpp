#include "client_run.h"

#include "adapter_check.h"
#include "client_check.h"
#include "discovery_group.h"
#include "kernel_state.h"
#include "message_reader.h"
#include "packet_watch.h"
#include "probe_message.h"
#include "progress.h"
#include "text.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/multicast.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iomanip>
#include <list>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using boost::asio::ip::address_v4;
using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using boost::system::error_code;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

constexpr int kSocketBufferSize = 1024 * 1024;

/// Time to wait for answers after the first Probe to the group, and again after the first direct
/// Probes of each round (see AskDirectly).
constexpr std::chrono::seconds kAnswerTime{2};

/// Time after which Probes for recorders, except answered direct ones, are sent again: a datagram
/// can get lost.
constexpr std::chrono::milliseconds kRepeatAfter{250};

/// Time after the first Probe to the group. If no recorder has answered on an adapter by then, a
/// Probe for devices of any type follows there: any answer shows that Probes and answers pass.
constexpr std::chrono::seconds kAskAllAfter{1};

constexpr std::chrono::milliseconds kProgressInterval{100};

/// A Probe that was sent, and the observation to which its answers are added.
struct Question {
    ClientMessage probe;
    ClientObservation* seen;
    std::string target; ///< where it was sent; empty for the group
};

/// A socket that sends Probes and receives the answers.
class CAsker {
public:
    using OnDatagram = std::function<void(std::string_view payload, const udp::endpoint& source)>;

    /// @param address, device  address and index of the adapter by which Probes to the group leave;
    ///                         for direct Probes 0.0.0.0 and 0: routes choose the adapter, as for a
    ///                         client's connection to a recorder
    ///
    /// Errors: boost::system::system_error.
    CAsker(boost::asio::io_context& ioService, const address_v4& address, int device,
           OnDatagram handler)
        : onDatagram(std::move(handler)), socket(ioService, {address, 0})
    {
        // By index: another adapter may have the same address.
        ip_mreqn adapter{};
        adapter.imr_ifindex = device;
        if (device != 0 && setsockopt(socket.native_handle(), IPPROTO_IP, IP_MULTICAST_IF, &adapter,
                                      sizeof(adapter)) < 0)
            throw boost::system::system_error(errno, boost::system::system_category());
        socket.set_option(boost::asio::ip::multicast::hops(kMulticastTtl));
        socket.set_option(udp::socket::receive_buffer_size(kSocketBufferSize));
        StartReceive();
    }
    CAsker(const CAsker&) = delete;
    CAsker& operator=(const CAsker&) = delete;

    std::uint16_t Port() const { return socket.local_endpoint().port(); }

    /// Returns why the text was not sent; empty if it was.
    std::string Send(const std::string& text, const address_v4& address)
    {
        error_code error;
        socket.send_to(boost::asio::buffer(text), {address, kDiscoveryPort}, 0, error);
        return error ? error.message() : "";
    }

private:
    void StartReceive()
    {
        socket.async_receive_from(boost::asio::buffer(buffer), source,
                                  [this](const error_code& error, std::size_t length) {
                                      if (error == boost::asio::error::operation_aborted)
                                          return;
                                      if (!error)
                                          onDatagram({buffer.data(), length}, source);
                                      StartReceive();
                                  });
    }

    const OnDatagram onDatagram;
    udp::socket socket;
    udp::endpoint source;
    std::array<char, 65536> buffer; // no UDP datagram is longer
};

/// One examination: asks the group on every adapter, then each recorder directly.
class CClientRun {
public:
    /// Errors: std::runtime_error.
    CClientRun(const std::vector<Adapter>& adapters, const std::string& target);

    void AskGroup();
    void AskDirectly();

    std::list<ClientObservation> observations; ///< a list: the questions point to its elements
    Findings findings;                         ///< about checks that were left out

private:
    bool AskNewAddresses();
    void Ask(ClientObservation& seen, const std::string& target,
             const std::optional<DeviceType>& sought);
    void Send(const Question& question);
    void Wait(steady_clock::duration phaseTime, bool untilAllAnswered);
    void Watch(ClientObservation& seen);
    bool AllAnswered() const;
    void OnDatagram(std::string_view payload, const udp::endpoint& source, bool received);

    const DeviceType sought = RecorderType();
    boost::asio::io_context ioService;
    std::list<CAsker> groupAskers; ///< one for each observation, in the same order
    std::unique_ptr<CAsker> directAsker;
    std::vector<std::unique_ptr<CPacketWatch>> watches;
    std::list<Question> questions;
    struct {
        const char* name;
        steady_clock::time_point start;
    } phase{};
    CProgress progress;
};

CClientRun::CClientRun(const std::vector<Adapter>& adapters, const std::string& target)
{
    const auto onDatagram = [this](std::string_view payload, const udp::endpoint& source) {
        OnDatagram(payload, source, true);
    };
    directAsker = std::make_unique<CAsker>(ioService, address_v4(), 0, onDatagram);
    for (const Adapter& each : adapters) {
        ClientObservation& seen = observations.emplace_back();
        seen.adapter = each;
        groupAskers.emplace_back(ioService, make_address_v4(each.ipAddress), each.index,
                                 onDatagram);
        Watch(seen);
    }
    if (target.empty() || observations.empty())
        return;
    const int route = RouteTo(make_address_v4(target));
    const auto leaving =
        std::find_if(observations.begin(), observations.end(),
                     [&](const ClientObservation& each) { return each.adapter.index == route; });
    (leaving == observations.end() ? observations.front() : *leaving).target = target;
}

void CClientRun::Watch(ClientObservation& seen)
{
    try {
        watches.push_back(std::make_unique<CPacketWatch>(
            ioService, seen.adapter,
            std::vector<std::uint16_t>{groupAskers.back().Port(), directAsker->Port()},
            [this](const SeenDatagram& datagram) {
                if (!datagram.outgoing)
                    OnDatagram(datagram.payload, datagram.source, false);
            }));
        seen.watched = true;
    } catch (const boost::system::system_error& error) {
        findings.push_back(
            {"left-out",
             Level::kNote,
             seen.adapter.name,
             {{"checks", {"answers-blocked-here"}}, {"reason", error.code().message()}},
             Compose("no packet socket can be opened: ", error.code().message())});
    }
}

void CClientRun::AskGroup()
{
    for (ClientObservation& each : observations)
        Ask(each, "", sought);
    phase = {"asking the group", steady_clock::now()};
    Wait(kRepeatAfter, false);
    for (const Question& each : questions)
        Send(each);
    Wait(kAskAllAfter, false);
    for (ClientObservation& each : observations) {
        if (!AnyAnswer(each, ""))
            Ask(each, "", std::nullopt);
    }
    Wait(kAnswerTime, false);
}

void CClientRun::AskDirectly()
{
    // The second round asks the addresses that became known since the first.
    for (int time = 0; time < 2 && AskNewAddresses(); ++time) {
        phase = {"asking directly", steady_clock::now()};
        Wait(kRepeatAfter, true);
        for (const Question& each : questions) {
            if (!each.target.empty() && !AnyAnswer(*each.seen, each.target))
                Send(each);
        }
        Wait(kAnswerTime, true);
    }
}

/// Directly asks each known address that was not asked yet. Returns whether there was one.
bool CClientRun::AskNewAddresses()
{
    bool any = false;
    for (ClientObservation& seen : observations) {
        std::set<std::string> targets = OtherHosts(seen);
        for (const SeenAnswer& each : seen.answers)
            targets.insert(each.source.to_string());
        if (!seen.target.empty())
            targets.insert(seen.target);
        for (const std::string& each : targets) {
            if (WasAsked(seen, each))
                continue;
            Ask(seen, each, sought);
            any = true;
        }
    }
    return any;
}

void CClientRun::Ask(ClientObservation& seen, const std::string& target,
                     const std::optional<DeviceType>& type)
{
    questions.push_back({MakeProbe(type), &seen, target});
    Send(questions.back());
}

void CClientRun::Send(const Question& question)
{
    if (!question.target.empty()) {
        question.seen->directErrors[question.target] =
            directAsker->Send(question.probe.text, make_address_v4(question.target));
        return;
    }
    auto asker = groupAskers.begin();
    for (const ClientObservation& each : observations) {
        if (&each == question.seen)
            break;
        ++asker;
    }
    question.seen->sendError = asker->Send(question.probe.text, make_address_v4(kMulticastGroup));
}

/// Receives answers until `phaseTime` after the start of the phase. With `untilAllAnswered`, ends
/// early when every direct Probe is answered.
void CClientRun::Wait(steady_clock::duration phaseTime, bool untilAllAnswered)
{
    const auto deadline = phase.start + phaseTime;
    while (steady_clock::now() < deadline && !(untilAllAnswered && AllAnswered())) {
        if (isatty(STDERR_FILENO)) {
            const std::chrono::duration<double> left =
                phase.start + kAnswerTime - steady_clock::now();
            progress.Show(Compose(phase.name, " ... ", std::fixed, std::setprecision(1),
                                  left.count(), " s left"));
        }
        ioService.run_one_until(std::min(deadline, steady_clock::now() + kProgressInterval));
    }
    progress.Clear();
}

/// Returns whether every direct Probe is answered. An answer that only the packet socket has seen
/// does not count: the asking socket may still receive it.
bool CClientRun::AllAnswered() const
{
    return std::all_of(questions.begin(), questions.end(), [](const Question& question) {
        const auto& answers = question.seen->answers;
        return question.target.empty() ||
               std::any_of(answers.begin(), answers.end(), [&](const SeenAnswer& each) {
                   return each.target == question.target && each.received;
               });
    });
}

void CClientRun::OnDatagram(std::string_view payload, const udp::endpoint& source, bool received)
{
    const auto read = ReadMessage(payload.data(), payload.size());
    const auto* message = std::get_if<Message>(&read);
    if (!message || message->kind != Message::Kind::kProbeMatches)
        return;
    const auto question =
        std::find_if(questions.begin(), questions.end(), [&](const Question& each) {
            return RelatesTo(*message, each.probe.identifier);
        });
    if (question == questions.end())
        return;
    const address_v4 address = source.address().to_v4();
    ClientObservation& seen = *question->seen;
    for (const Device& device : message->devices) {
        if (!HasType(device, sought)) {
            seen.otherDevices.insert(address.to_string());
            continue;
        }
        // An answer can come several times: from the packet socket and the socket that asked, and
        // for each copy of a Probe.
        const auto known =
            std::find_if(seen.answers.begin(), seen.answers.end(), [&](const SeenAnswer& each) {
                return each.target == question->target && each.source == address &&
                       each.device.address == device.address && each.device.xaddrs == device.xaddrs;
            });
        if (known == seen.answers.end())
            seen.answers.push_back({question->target, address, device, received});
        else
            known->received = known->received || received;
    }
}

} // namespace

Findings ExamineClient(const std::vector<std::string>& names, const std::string& target)
{
    CheckedAdapters checked = CheckAdapters(ReadAdapters(), names);
    Findings findings = std::move(checked.findings);
    const std::uint64_t dropsBefore = ReadReversePathDrops();
    CClientRun run(checked.usable, target);
    if (!checked.usable.empty()) {
        run.AskGroup();
        run.AskDirectly();
    }
    findings.insert(findings.end(), run.findings.begin(), run.findings.end());

    const auto isFound = [](const ClientObservation& each) {
        return AnyAnswer(each, "") || !each.target.empty();
    };
    const bool anyFound = std::any_of(run.observations.begin(), run.observations.end(), isFound);
    const std::vector<Adapter> later = ReadAdapters();
    for (ClientObservation& each : run.observations) {
        each.reversePathDropCount = ReadReversePathDrops() - dropsBefore;
        each.optional = names.empty() && anyFound && !isFound(each);
        // If the adapter has become unusable meanwhile, only that is reported.
        const CheckedAdapters recheck = CheckAdapters(later, {each.adapter.name});
        const Findings found = recheck.usable.empty() ? recheck.findings : CheckClient(each);
        findings.insert(findings.end(), found.begin(), found.end());
    }
    return findings;
}

} // namespace kx::tools
