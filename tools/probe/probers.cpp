#include "probers.h"

#include "text.h"

#include <algorithm>
#include <utility>

using boost::system::error_code;

namespace kx::tools {
namespace {

/// Changes come in bursts: a new adapter is announced several times before it has its address.
constexpr std::chrono::milliseconds kGatherTime{75};

/// Whether an adapter is still what a prober was made for.
bool SameDevice(const Adapter& left, const Adapter& right)
{
    return left.name == right.name && left.index == right.index &&
           left.ipAddress == right.ipAddress;
}

} // namespace

CProbers::CProbers(boost::asio::io_context& service, const ProbeOptions& probeOptions,
                   CProber::OnHeard heardHandler, Complaint complaint)
    : ioService(service),
      options(probeOptions),
      onHeard(std::move(heardHandler)),
      complain(std::move(complaint)),
      monitored(service),
      gathering(service)
{
    if (options.watch)
        monitor.emplace();
}

CProbers::~CProbers()
{
    if (monitored.is_open())
        monitored.release();
}

void CProbers::Open()
{
    for (const Adapter& each :
         options.all ? ReadUsableAdapters() : SelectAdapters(ReadAdapters(), options.adapterNames))
        Open(each);
}

void CProbers::Open(const Adapter& adapter)
{
    try {
        auto prober = std::make_shared<CProber>(ioService, adapter, options.watch, onHeard);
        prober->Start();
        lines.push_back({adapter, std::move(prober)});
    } catch (const AdapterError& error) {
        ComplainOnce(adapter, error.what());
    }
}

void CProbers::Ask(const ProbeSchedule& schedule)
{
    for (auto each = lines.begin(); each != lines.end();) {
        try {
            each->prober->Ask(MakeProbe(ParseDeviceType(options.type, options.namespaceUri)),
                              schedule);
            unusable.erase(each->adapter.name);
        } catch (const AdapterError& error) {
            ComplainOnce(each->adapter, error.what());
            if (!options.watch) {
                each->prober->Close();
                each = lines.erase(each);
                continue;
            }
        }
        ++each;
    }
}

int CProbers::Malformed() const
{
    int count = formerMalformed;
    for (const Line& each : lines)
        count += each.prober->malformed;
    return count;
}

void CProbers::ComplainOnce(const Adapter& adapter, const std::string& text)
{
    if (unusable.insert(adapter.name).second)
        complain(text);
}

void CProbers::Follow(std::function<void()> changed)
{
    onChanged = std::move(changed);
    monitored.assign(monitor->Descriptor());
    AwaitChange();
}

void CProbers::AwaitChange()
{
    monitored.async_wait(monitored.wait_read, [this](const error_code& /*error*/) {
        gathering.expires_after(kGatherTime);
        gathering.async_wait([this](const error_code& /*error*/) { OnChange(); });
    });
}

void CProbers::OnChange()
{
    try {
        const std::set<int> deleted = monitor->TakeDeleted();
        if (TakeOver(options.all ? ReadNetworkAdapters()
                                 : FindAdapters(ReadAdapters(), options.adapterNames),
                     deleted))
            onChanged();
    } catch (const std::exception& error) {
        complain(error.what());
    }
    AwaitChange();
}

/// Makes the probers those of the adapters.
///
/// @return whether probers or what they are connected to changed
bool CProbers::TakeOver(const std::vector<Adapter>& adapters, const std::set<int>& deleted)
{
    const std::vector<Line> former = std::exchange(lines, {});
    bool changed = false;
    for (const Adapter& each : adapters) {
        const auto line = std::find_if(former.begin(), former.end(), [&](const Line& known) {
            return SameDevice(known.adapter, each) && deleted.count(each.index) == 0;
        });
        if (line != former.end()) {
            changed = changed || each.connected != line->adapter.connected ||
                      each.operationalState != line->adapter.operationalState;
            lines.push_back({each, line->prober});
        } else if (!each.ipAddress.empty()) {
            Open(each);
            changed = true;
        }
    }

    for (const Line& each : former) {
        const auto isSame = [&](const Line& line) { return line.prober == each.prober; };
        const auto isNamed = [&](const Line& line) {
            return line.adapter.name == each.adapter.name;
        };
        if (std::any_of(lines.begin(), lines.end(), isSame))
            continue;
        changed = true;
        each.prober->Close();
        formerMalformed += each.prober->malformed;
        if (std::none_of(lines.begin(), lines.end(), isNamed))
            ComplainOnce(each.adapter, Compose("adapter ", each.adapter.name,
                                               " is gone or has no IPv4 address; waiting for it"));
    }
    return changed;
}

} // namespace kx::tools
