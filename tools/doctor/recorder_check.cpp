#include "recorder_check.h"

#include "join.h"
#include "recorder_socket.h"
#include "text.h"

#include <algorithm>
#include <set>
#include <utility>

using Json = nlohmann::ordered_json;
using boost::asio::ip::make_address_v4;

namespace kx::tools {
namespace {

/// The Probes of one client, either to the group or to this machine's addresses. One answer is
/// enough: it shows that nothing blocks them.
struct Prober {
    std::string address;
    bool toGroup;
    int routeBack = 0; ///< see SeenProbe
    std::size_t probeCount = 0;
    std::size_t answerCount = 0;
};

std::vector<Prober> GroupByProber(const std::vector<SeenProbe>& probes)
{
    std::map<std::pair<std::string, bool>, Prober> probers;
    for (const SeenProbe& each : probes) {
        const std::string address = each.prober.address().to_string();
        Prober& prober = probers.try_emplace({address, each.toGroup}, Prober{address, each.toGroup})
                             .first->second;
        prober.routeBack = each.routeBack;
        ++prober.probeCount;
        prober.answerCount += each.answered ? 1 : 0;
    }
    std::vector<Prober> list;
    for (const auto& each : probers)
        list.push_back(each.second);
    return list;
}

/// Checks one adapter of a recorder. CheckProbes needs the flags that the earlier steps set.
class CRecorderCheck {
public:
    CRecorderCheck(const MachineState& machineState, const RecorderObservation& observation)
        : machine(machineState), seen(observation), adapter(observation.adapter)
    {
        for (const UdpSocket& each : machine.sockets) {
            if (each.device == adapter.index && each.address.is_unspecified())
                bound.push_back(each);
        }
    }

    Findings Run()
    {
        CheckSocket();
        CheckDirectReceiver();
        CheckBuffers();
        if (seen.watched)
            CheckProbes();
        return std::move(findings);
    }

private:
    void CheckSocket();
    void CheckDirectReceiver();
    void CheckBuffers();
    void CheckProbes();
    void AddProbers(const char* name, Level level, const std::vector<Prober>& probers,
                    const std::string& prefix);
    bool IsOtherProgram(const UdpSocket& socket) const;
    bool JoinedForAnother() const;
    std::string DeviceName(int index) const;
    std::string Describe(const UdpSocket& socket) const;
    Json ToJson(const UdpSocket& socket) const;
    std::vector<UdpSocket> Receiving() const;
    std::string DescribeAll(const std::vector<UdpSocket>& sockets) const;
    Json ToJson(const std::vector<UdpSocket>& sockets) const;

    void Add(const char* name, Level level, Json evidence, std::string text,
             std::string variant = "")
    {
        findings.push_back(
            {name, level, adapter.name, std::move(evidence), std::move(text), std::move(variant)});
    }

    const MachineState& machine;
    const RecorderObservation& seen;
    const Adapter& adapter;
    /// Sockets bound to the adapter's device and to no address, as a recorder's are.
    std::vector<UdpSocket> bound;
    Findings findings;
    bool listening = false;
    bool shared = false;
    bool dropping = false;
};

void CRecorderCheck::CheckSocket()
{
    const bool joined = machine.groupMembers.count(adapter.name) > 0;
    if (!bound.empty() && joined) {
        listening = true;
        Add("listening", Level::kOk, {{"sockets", ToJson(bound)}, {"joined", true}},
            DescribeAll(bound) + ", and the group is joined");
        return;
    }
    std::vector<std::string> joinedOn;
    for (const auto& each : machine.groupMembers)
        joinedOn.push_back(each.first);
    if (!bound.empty()) {
        const Json evidence{{"sockets", ToJson(bound)}, {"joined", false}, {"joinedOn", joinedOn}};
        if (joinedOn.empty()) {
            Add("not-listening", Level::kFault, evidence,
                DescribeAll(bound) + ", but the group is not joined on any adapter", "no-group");
        } else {
            Add("wrong-device", Level::kFault, evidence,
                DescribeAll(bound) + ", but the group is joined on " + Join(joinedOn, ", "));
        }
        return;
    }
    const std::vector<UdpSocket> others = Receiving();
    const Json evidence{{"sockets", ToJson(others)}, {"joined", joined}, {"joinedOn", joinedOn}};
    if (seen.portTaken) {
        Add("port-taken", Level::kFault, evidence,
            (others.empty() ? "a connected socket" : DescribeAll(others)) +
                ", which does not share the port");
        return;
    }
    const bool answering = std::any_of(seen.probes.begin(), seen.probes.end(),
                                       [](const SeenProbe& each) { return each.answered; });
    const std::string text =
        "no socket on UDP port 3702 is bound to " + adapter.name +
        (others.empty() ? "" : "; these are bound to no device: " + DescribeAll(others));
    if (answering)
        Add("not-listening", Level::kNote, evidence, text, "answering");
    else if (JoinedForAnother())
        Add("not-listening", Level::kNote, evidence, text, "elsewhere");
    else
        Add("not-listening", Level::kFault, evidence, text);
}

/// Returns whether a socket bound to another device seems to have joined the group on this adapter:
/// a server gave that device's name (Handle) with this adapter's IPAddress. As the kernel does not
/// tell which socket joined, each counts that has no address and on whose device none has joined.
/// `not-listening` is then only a note: the check of that device, if any, reports `wrong-device`.
bool CRecorderCheck::JoinedForAnother() const
{
    if (machine.groupMembers.count(adapter.name) == 0)
        return false;
    return std::any_of(machine.sockets.begin(), machine.sockets.end(), [&](const UdpSocket& each) {
        return each.device != 0 && each.address.is_unspecified() &&
               machine.groupMembers.count(DeviceName(each.device)) == 0;
    });
}

void CRecorderCheck::CheckDirectReceiver()
{
    if (bound.empty())
        return;
    for (const std::string& address : adapter.addresses) {
        const UdpSocket* receiver =
            DirectReceiver(machine.sockets, make_address_v4(address), adapter.index);
        const bool addressBound = !receiver->address.is_unspecified();
        if (!IsOtherProgram(*receiver))
            continue;
        shared = true;
        Add("port-shared", Level::kFault,
            {{"address", address}, {"takenBy", ToJson(*receiver)}, {"sockets", ToJson(bound)}},
            Compose("what is sent to ", address, " goes to ", Describe(*receiver)),
            addressBound ? "" : "device");
    }
}

/// Returns whether `socket`, which receives the direct Probes to one of the adapter's addresses,
/// keeps them from another program: one that has a socket in `bound`.
bool CRecorderCheck::IsOtherProgram(const UdpSocket& socket) const
{
    const auto owner = machine.owners.find(socket.inode);
    return std::any_of(bound.begin(), bound.end(), [&](const UdpSocket& each) {
        const auto other = machine.owners.find(each.inode);
        if (each.inode == socket.inode)
            return false;
        if (owner != machine.owners.end() && other != machine.owners.end())
            return owner->second.process != other->second.process;
        // An owner is unknown, so the sockets are compared. Those of one recorder are bound to no
        // address, belong to one user, and are at most as many as the adapter's addresses.
        return !socket.address.is_unspecified() || each.user != socket.user ||
               bound.size() > adapter.addresses.size();
    });
}

void CRecorderCheck::CheckBuffers()
{
    for (const UdpSocket& each : bound) {
        std::uint32_t dropped = 0;
        for (const UdpSocket& later : machine.laterSockets) {
            if (later.inode == each.inode)
                dropped = later.dropCount - each.dropCount;
        }
        const std::uint32_t buffer = each.receiveBuffer / 2; // doubled by Linux: socket(7)
        const Json evidence{{"socket", ToJson(each)},
                            {"dropped", dropped},
                            {"droppedBefore", each.dropCount},
                            {"bufferBytes", buffer},
                            {"rmemMax", machine.bufferLimit}};
        if (dropped > 0) {
            dropping = true;
            Add("receive-drops", Level::kFault, evidence,
                Compose(Describe(each), " lost ", dropped, " datagrams while it was watched"),
                buffer < kRecorderBufferSize ? "" : "full-size");
        } else if (buffer < kRecorderBufferSize) {
            Add("receive-drops", Level::kNote, evidence,
                Compose("the receive buffer of ", Describe(each), " holds ", buffer,
                        " bytes; it has lost ", each.dropCount, " datagrams so far"),
                "capped");
        }
    }
}

void CRecorderCheck::CheckProbes()
{
    std::vector<Prober> answered;
    std::vector<Prober> filtered;
    std::vector<Prober> blocked;
    for (const Prober& each : GroupByProber(seen.probes)) {
        if (each.answerCount > 0)
            answered.push_back(each);
        else if (!listening || dropping || (shared && !each.toGroup))
            continue; // an earlier finding explains the missing answer
        else if (machine.reversePathDropCount > 0 && each.routeBack != adapter.index)
            filtered.push_back(each);
        else
            blocked.push_back(each);
    }
    AddProbers("probe-answered", Level::kOk, answered, "answered");
    AddProbers("reverse-path", Level::kFault, filtered, "not answered");
    AddProbers("probes-blocked", Level::kFault, blocked, "not answered");
    // If the recorder's buffer overflowed, the watch's may have overflowed too and lost Probes.
    if (seen.probes.empty() && !dropping) {
        Add("no-probe-came", Level::kNote,
            {{"own", adapter.ipAddress}, {"otherProbes", seen.otherProbeCount}},
            seen.otherProbeCount == 0
                ? std::string("no Probe came to the adapter")
                : Compose("no Probe that a recorder answers came, but ", seen.otherProbeCount,
                          seen.otherProbeCount == 1 ? " other" : " others"),
            seen.otherProbeCount == 0 ? "" : "others");
    }
}

void CRecorderCheck::AddProbers(const char* name, Level level, const std::vector<Prober>& probers,
                                const std::string& prefix)
{
    if (probers.empty())
        return;
    Json list = Json::array();
    std::string text;
    for (const Prober& each : probers) {
        const std::string route = each.routeBack == 0 ? "" : DeviceName(each.routeBack);
        list.push_back({{"address", each.address},
                        {"kind", each.toGroup ? "group" : "direct"},
                        {"probes", each.probeCount},
                        {"answers", each.answerCount},
                        {"routeBack", route.empty() ? Json() : Json(route)}});
        text += Compose(text.empty() ? prefix + ": " : "; ", each.probeCount,
                        each.probeCount == 1 ? " Probe" : " Probes", " from ", each.address,
                        each.toGroup ? " to the group" : " to this machine's address");
        if (each.routeBack != adapter.index) {
            text += route.empty() ? ", to which there is no route"
                                  : ", to which the route leads by " + route;
        }
    }
    // {prober} in advice.cpp stands for a single address: the first prober's.
    Add(name, level,
        {{"probers", list},
         {"prober", probers.front().address},
         {"reversePathDrops", machine.reversePathDropCount}},
        level == Level::kOk || machine.reversePathDropCount == 0
            ? text
            : Compose(text, "; reverse-path filtering dropped ", machine.reversePathDropCount));
}

/// Returns the sockets that can receive what arrives at the adapter.
std::vector<UdpSocket> CRecorderCheck::Receiving() const
{
    std::vector<UdpSocket> receiving;
    for (const UdpSocket& each : machine.sockets) {
        if (each.device == 0 || each.device == adapter.index)
            receiving.push_back(each);
    }
    return receiving;
}

std::string CRecorderCheck::DeviceName(int index) const
{
    const auto name = machine.deviceNames.find(index);
    // A socket bound to a deleted device keeps the index, which has no name.
    return name != machine.deviceNames.end() ? name->second : Compose("if", index);
}

std::string CRecorderCheck::Describe(const UdpSocket& socket) const
{
    const auto owner = machine.owners.find(socket.inode);
    return Compose(socket.address.to_string(),
                   socket.device == 0 ? "" : "%" + DeviceName(socket.device), ":3702 of ",
                   owner == machine.owners.end()
                       ? Compose("inode ", socket.inode)
                       : Compose(owner->second.name, " (", owner->second.process, ")"));
}

std::string CRecorderCheck::DescribeAll(const std::vector<UdpSocket>& sockets) const
{
    std::string text;
    for (const UdpSocket& each : sockets)
        text += (text.empty() ? "" : ", ") + Describe(each);
    return text;
}

Json CRecorderCheck::ToJson(const UdpSocket& socket) const
{
    const auto owner = machine.owners.find(socket.inode);
    const bool known = owner != machine.owners.end();
    return {{"address", socket.address.to_string()},
            {"device", socket.device == 0 ? Json() : Json(DeviceName(socket.device))},
            {"inode", socket.inode},
            {"process", known ? Json(owner->second.name) : Json()},
            {"pid", known ? Json(owner->second.process) : Json()}};
}

Json CRecorderCheck::ToJson(const std::vector<UdpSocket>& sockets) const
{
    Json list = Json::array();
    for (const UdpSocket& each : sockets)
        list.push_back(ToJson(each));
    return list;
}

} // namespace

Findings CheckRecorder(const MachineState& machine, const RecorderObservation& seen)
{
    return CRecorderCheck(machine, seen).Run();
}

} // namespace kx::tools
