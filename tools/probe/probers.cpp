#include "probers.h"

#include "discovery_group.h"
#include "text.h"

#include <algorithm>
#include <utility>

using boost::asio::ip::udp;
using boost::system::error_code;

namespace kx::tools {
namespace {

/// Compares two readings of an adapter: returns whether a prober for one works for the other.
bool IsSameDevice(const Adapter& left, const Adapter& right)
{
    return left.name == right.name && left.index == right.index &&
           left.ipAddress == right.ipAddress;
}

std::vector<udp::endpoint> Destinations(const ProbeOptions& options)
{
    if (!options.hosts.empty())
        return options.hosts;
    return {{boost::asio::ip::make_address_v4(kMulticastGroup), kDiscoveryPort}};
}

/// If no type is sought, also asks for common types: some devices, such as recorders, answer only a
/// Probe for one of their types.
std::vector<ClientMessage> MakeProbes(const std::optional<DeviceType>& sought)
{
    std::vector<ClientMessage> probes{MakeProbe(sought)};
    if (!sought) {
        probes.push_back(MakeProbe(ParseDeviceType("wsdp:Device", "")));
        probes.push_back(MakeProbe(RecorderType()));
    }
    return probes;
}

/// Returns whether the kernel's routes choose the adapters: with --to and without --adapter.
bool IsRouted(const ProbeOptions& options)
{
    return !options.hosts.empty() && options.adapterNames.empty();
}

} // namespace

CProbers::CProbers(boost::asio::io_context& service, CReceiver& usedReceiver,
                   const ProbeOptions& probeOptions, CProber::OnHeard heardHandler,
                   Complaint complaint)
    : ioService(service),
      receiver(usedReceiver),
      options(probeOptions),
      destinations(Destinations(options)),
      onHeard(std::move(heardHandler)),
      complain(std::move(complaint)),
      monitored(service),
      gathering(service)
{
    if (options.watch && !IsRouted(options))
        monitor.emplace();
}

CProbers::~CProbers()
{
    // Closes the probers now: a pending timer handler may keep one alive longer than the receiver,
    // which the destructor of an open prober uses.
    for (const AdapterProber& each : probers)
        each.prober->Close();
    if (monitored.is_open())
        monitored.release();
}

void CProbers::Open()
{
    std::vector<Adapter> adapters{AnyAdapter()};
    if (!IsRouted(options))
        adapters = options.adapterNames.empty()
                       ? ReadUsableAdapters()
                       : SelectAdapters(ReadAdapters(), options.adapterNames);
    for (const Adapter& adapter : adapters) {
        for (const udp::endpoint& destination : destinations)
            Open(adapter, destination);
    }
}

void CProbers::Open(const Adapter& adapter, const udp::endpoint& destination)
{
    try {
        auto prober = std::make_shared<CProber>(ioService, receiver, adapter, destination,
                                                options.watch, onHeard);
        prober->Start();
        probers.push_back({adapter, std::move(prober)});
    } catch (const AdapterError& error) {
        ComplainOnce(adapter, destination, error.what());
    }
}

void CProbers::Ask(const ProbeSchedule& schedule)
{
    const std::vector<AdapterProber> asked = probers;
    for (const auto& [adapter, prober] : asked) {
        try {
            prober->Ask(MakeProbes(options.sought), schedule);
            unusable.erase({adapter.name, prober->Destination()});
        } catch (const AdapterError& error) {
            ComplainOnce(adapter, prober->Destination(), error.what());
            if (!options.watch)
                Drop({adapter, prober});
        }
    }
}

std::vector<std::string> CProbers::AdapterNames() const
{
    std::vector<std::string> names;
    for (const AdapterProber& each : probers) {
        const std::string& name = each.adapter.name;
        if (!name.empty() && std::find(names.begin(), names.end(), name) == names.end())
            names.push_back(name);
    }
    return names;
}

IgnoredCounts CProbers::Ignored() const
{
    IgnoredCounts counts = formerIgnored;
    for (const AdapterProber& each : probers)
        counts += each.prober->Ignored();
    return counts;
}

std::uint64_t CProbers::DroppedCount() const
{
    std::uint64_t count = formerDropped;
    for (const AdapterProber& each : probers)
        count += each.prober->DroppedCount();
    return count;
}

void CProbers::ComplainOnce(const Adapter& adapter, const udp::endpoint& destination,
                            const std::string& text)
{
    if (unusable.insert({adapter.name, destination}).second)
        complain(text);
}

void CProbers::Follow(std::function<void()> changed)
{
    if (!monitor)
        return;
    onChanged = std::move(changed);
    monitored.assign(monitor->Descriptor());
    AwaitChange();
}

void CProbers::AwaitChange()
{
    monitored.async_wait(monitored.wait_read, [this](const error_code& /*error*/) {
        OnChangeAfter(kAdapterGatherTime);
    });
}

void CProbers::OnChangeAfter(std::chrono::steady_clock::duration time)
{
    gathering.expires_after(time);
    gathering.async_wait([this](const error_code& /*error*/) { OnChange(); });
}

void CProbers::OnChange()
{
    try {
        deletedIndexes.merge(monitor->ReadDeleted());
        const std::vector<Adapter> adapters =
            options.adapterNames.empty() ? ReadNetworkAdapters()
                                         : FindAdapters(ReadAdapters(), options.adapterNames);
        if (Adopt(adapters, std::exchange(deletedIndexes, {})))
            onChanged();
    } catch (const std::exception& error) {
        complain(error.what());
        // Tries again, because the kernel announces each change only once.
        OnChangeAfter(kAdapterRetryTime);
        return;
    }
    AwaitChange();
}

void CProbers::Drop(const AdapterProber& former)
{
    former.prober->Close();
    formerIgnored += former.prober->Ignored();
    formerDropped += former.prober->DroppedCount();
    const auto isSame = [&](const AdapterProber& each) { return each.prober == former.prober; };
    probers.erase(std::remove_if(probers.begin(), probers.end(), isSame), probers.end());
}

/// Creates and removes probers to match the adapters.
///
/// @param deleted   indexes of deleted network devices; a new device may have the same index
/// @return whether other devices may now be within reach: a prober was removed or was missing, or
///         the state of a prober's adapter changed
bool CProbers::Adopt(const std::vector<Adapter>& adapters, const std::set<int>& deleted)
{
    bool changed = false;
    const std::vector<AdapterProber> formers = probers;
    for (const AdapterProber& former : formers) {
        const auto isSame = [&](const Adapter& each) {
            return IsSameDevice(former.adapter, each) && deleted.count(each.index) == 0;
        };
        if (std::none_of(adapters.begin(), adapters.end(), isSame)) {
            changed = true;
            Drop(former);
        }
    }

    for (const Adapter& adapter : adapters) {
        for (const udp::endpoint& destination : destinations) {
            const auto known =
                std::find_if(probers.begin(), probers.end(), [&](const AdapterProber& each) {
                    return each.adapter.name == adapter.name &&
                           each.prober->Destination() == destination;
                });
            if (known != probers.end()) {
                changed = changed || adapter.connected != known->adapter.connected ||
                          adapter.operationalState != known->adapter.operationalState;
                known->adapter = adapter;
            } else if (!adapter.ipAddress.empty()) {
                changed = true;
                Open(adapter, destination);
            }
        }
    }

    for (const AdapterProber& former : formers) {
        const std::string& name = former.adapter.name;
        const auto isNamed = [&](const AdapterProber& each) { return each.adapter.name == name; };
        if (std::none_of(probers.begin(), probers.end(), isNamed))
            ComplainOnce(
                former.adapter, destinations.front(),
                Compose("adapter ", name, " is gone or has no IPv4 address; waiting for it"));
    }
    return changed;
}

} // namespace kx::tools
