#include "recorder_run.h"

#include "adapter_check.h"
#include "answerable.h"
#include "device_type.h"
#include "discovery_group.h"
#include "discovery_soap.h"
#include "kernel_state.h"
#include "message_reader.h"
#include "packet_watch.h"
#include "progress.h"
#include "recorder_check.h"
#include "recorder_socket.h"
#include "run_tool.h"
#include "text.h"
#include "uris.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/system/system_error.hpp>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <cstring>
#include <iostream>
#include <list>
#include <memory>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

using boost::asio::ip::make_address_v4;
using boost::asio::ip::udp;
using boost::system::error_code;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

/// The watch lasts this long after a Probe that arrives just before its end, so that the answer is
/// seen.
constexpr std::chrono::milliseconds kAnswerTime{500};

constexpr std::chrono::milliseconds kProgressInterval{200};

/// Returns whether another program has the port and does not share it. Call it only if no socket is
/// bound to the adapter's device: for a moment it opens one, which would take a recorder's
/// datagrams.
bool IsPortTaken(const Adapter& adapter)
{
    boost::asio::io_context service;
    udp::socket socket(service, udp::v4());
    // Linux before 5.7 refuses SO_BINDTODEVICE without CAP_NET_RAW. Then the bind below also fails
    // if a socket on another device does not share the port.
    setsockopt(socket.native_handle(), SOL_SOCKET, SO_BINDTODEVICE, adapter.name.c_str(),
               static_cast<socklen_t>(adapter.name.size()));
    socket.set_option(udp::socket::reuse_address(true));
    error_code error;
    socket.bind({udp::v4(), kDiscoveryPort}, error);
    return error == boost::asio::error::address_in_use;
}

MachineState ReadMachineState(const std::vector<Adapter>& all)
{
    MachineState machine;
    machine.sockets = ReadUdpSockets(kDiscoveryPort);
    std::set<std::uint32_t> inodes;
    for (const UdpSocket& each : machine.sockets)
        inodes.insert(each.inode);
    machine.owners = FindSocketOwners(inodes);
    machine.groupMembers = ReadGroupMembers(make_address_v4(kMulticastGroup));
    for (const Adapter& each : all)
        machine.deviceNames[each.index] = each.name;
    machine.bufferLimit = ReadSetting("net/core/rmem_max");
    return machine;
}

/// Watches the Probes that arrive at adapters and the answers that leave.
class CProbeWatch {
public:
    explicit CProbeWatch(double watchSeconds)
        : seconds(watchSeconds), signals(ioService, SIGINT, SIGTERM), progressTimer(ioService)
    {
        codec.types.assign(std::begin(kDeviceTypes), std::end(kDeviceTypes));
    }

    /// Adds an adapter to the watch, which keeps a reference to `seen`.
    ///
    /// Errors: boost::system::system_error, see CPacketWatch.
    void Add(RecorderObservation& seen)
    {
        watches.push_back(std::make_unique<CPacketWatch>(
            ioService, seen.adapter, std::vector<std::uint16_t>{kDiscoveryPort},
            [this, &seen](const SeenDatagram& datagram) { OnDatagram(seen, datagram); }));
        seen.watched = true;
        observations.push_back(&seen);
    }

    void Run();

private:
    void OnDatagram(RecorderObservation& seen, const SeenDatagram& datagram);
    void ShowProgress();
    std::size_t ProbeCount() const;

    const double seconds;
    CDiscoverySoap codec; ///< knows which Probes a recorder answers
    boost::asio::io_context ioService;
    boost::asio::signal_set signals;
    boost::asio::steady_timer progressTimer;
    std::vector<std::unique_ptr<CPacketWatch>> watches;
    std::vector<RecorderObservation*> observations;
    steady_clock::time_point deadline;
    steady_clock::time_point lastProbe;
    CProgress progress;
};

void CProbeWatch::Run()
{
    if (watches.empty())
        return;
    std::cerr << Compose("Now run pelorin-probe on the client; watching for ", seconds, " s\n")
              << std::flush;
    deadline = steady_clock::now() + ToDuration(seconds);
    signals.async_wait([this](const error_code& /*error*/, int /*signal*/) { ioService.stop(); });
    if (isatty(STDERR_FILENO))
        ShowProgress();
    ioService.run_until(deadline);
    if (lastProbe + kAnswerTime > steady_clock::now() && !ioService.stopped())
        ioService.run_until(lastProbe + kAnswerTime);
}

void CProbeWatch::OnDatagram(RecorderObservation& seen, const SeenDatagram& datagram)
{
    const std::string_view payload = datagram.payload;
    if (datagram.outgoing) {
        const auto read = ReadMessage(payload.data(), payload.size());
        const auto* answer = std::get_if<Message>(&read);
        // Ignores answers of other programs, which describe no recorder.
        if (!answer || answer->kind != Message::Kind::kProbeMatches ||
            std::none_of(answer->devices.begin(), answer->devices.end(),
                         [](const Device& each) { return HasType(each, RecorderType()); }))
            return;
        for (SeenProbe& each : seen.probes) {
            // RelatesTo ignores prefixes, but fails for an identifier shorter than a UUID. EndsWith
            // covers that: the plug-in answers with "uuid:" and the whole identifier.
            each.answered = each.answered || (each.prober == datagram.destination &&
                                              (RelatesTo(*answer, each.identifier) ||
                                               EndsWith(answer->relatesTo, each.identifier)));
        }
        return;
    }
    SeenProbe probe{datagram.source, "", datagram.destination.address().is_multicast()};
    std::string types;
    std::string action;
    const bool matches =
        codec.ParseProbe(payload.data(), payload.size(), probe.identifier, types, action) == 1;
    if (!matches || payload.size() > kRecorderReadSize || !IsAnswerable(datagram.source)) {
        seen.otherProbeCount += EndsWith(action, "Probe") ? 1 : 0;
        return;
    }
    probe.routeBack = RouteTo(datagram.source.address().to_v4());
    seen.probes.push_back(std::move(probe));
    lastProbe = steady_clock::now();
}

void CProbeWatch::ShowProgress()
{
    const std::chrono::duration<double> left = deadline - steady_clock::now();
    progress.Show(Compose("watching ... ", std::lround(std::max(left.count(), 0.0)), " s left, ",
                          ProbeCount(), " Probes"));
    progressTimer.expires_after(kProgressInterval);
    progressTimer.async_wait([this](const error_code& /*error*/) { ShowProgress(); });
}

std::size_t CProbeWatch::ProbeCount() const
{
    std::size_t count = 0;
    for (const RecorderObservation* each : observations)
        count += each->probes.size();
    return count;
}

} // namespace

Findings ExamineRecorder(const std::vector<std::string>& names, double watchSeconds)
{
    const std::vector<Adapter> all = ReadAdapters();
    CheckedAdapters checked = CheckAdapters(all, names);
    Findings findings = std::move(checked.findings);
    MachineState machine = ReadMachineState(all);

    CProbeWatch watch(watchSeconds);
    std::list<RecorderObservation> observations; // a list: the watch refers to its elements
    for (const Adapter& adapter : checked.usable) {
        RecorderObservation& seen = observations.emplace_back();
        seen.adapter = adapter;
        const auto isHere = [&](const UdpSocket& each) { return each.device == adapter.index; };
        const auto receives = [&](const UdpSocket& each) {
            return each.device == 0 || isHere(each);
        };
        if (std::none_of(machine.sockets.begin(), machine.sockets.end(), isHere))
            seen.portTaken = IsPortTaken(adapter);
        if (std::none_of(machine.sockets.begin(), machine.sockets.end(), receives))
            continue; // no socket could answer a Probe
        try {
            watch.Add(seen);
        } catch (const boost::system::system_error& error) {
            findings.push_back(
                {"left-out",
                 Level::kNote,
                 adapter.name,
                 {{"checks", {"probe-answered", "probes-blocked", "reverse-path", "no-probe-came"}},
                  {"reason", error.code().message()}},
                 Compose("no packet socket can be opened: ", error.code().message())});
        }
    }
    const std::uint64_t dropsBefore = ReadReversePathDrops();
    watch.Run();
    machine.reversePathDropCount = ReadReversePathDrops() - dropsBefore;
    machine.laterSockets = ReadUdpSockets(kDiscoveryPort);

    const std::vector<Adapter> later = ReadAdapters();
    for (const RecorderObservation& each : observations) {
        // If the adapter has become unusable meanwhile, only that is reported.
        const CheckedAdapters recheck = CheckAdapters(later, {each.adapter.name});
        const Findings found =
            recheck.usable.empty() ? recheck.findings : CheckRecorder(machine, each);
        findings.insert(findings.end(), found.begin(), found.end());
    }
    return findings;
}

} // namespace kx::tools
