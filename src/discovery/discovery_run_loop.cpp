#include "discovery_run_loop.h"

#include "core_log.h"
#include "discovery_manager.h"
#include "text.h"
#include "uris.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/throw_exception.hpp>

#include <algorithm>
#include <system_error>
#include <thread>
#include <tuple>

namespace kx {
namespace {

constexpr char kAddressScheme[] = "ktzkx://";

/// The I/O thread of a run. Its end shuts the manager down first, on every way out of the run: the
/// thread must not outlive the manager.
///
/// Not a boost::thread: its compiled part would come from the host where that has one of its own.
class CIoThread {
public:
    /// Errors: boost::thread_resource_error when there can be no thread.
    explicit CIoThread(CDiscoveryManager& served) : manager(served)
    {
        try {
            thread = std::thread([&served] { served.RunIoService(); });
        } catch (const std::system_error& error) {
            boost::throw_exception(
                boost::thread_resource_error(error.code().value(), "boost::thread_resource_error"));
        }
    }
    CIoThread(const CIoThread&) = delete;
    CIoThread& operator=(const CIoThread&) = delete;
    ~CIoThread() // NOLINT(bugprone-exception-escape): without memory the process has to end here
    {
        manager.Shutdown();
        thread.join();
    }

private:
    CDiscoveryManager& manager;
    std::thread thread;
};

/// Deliberate: order counts. The same adapters in another order are another set.
bool SameAdapters(const std::vector<AdapterRecord>& left, const std::vector<AdapterRecord>& right)
{
    const auto key = [](const AdapterRecord& adapter) {
        return std::tie(adapter.ipAddress, adapter.handle, adapter.macAddress);
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](const auto& one, const auto& other) { return key(one) == key(other); });
}

/// Waits for one broadcast; true when it brought another port or other adapters, which are then
/// copied out.
bool WaitForChange(PluginContext& context, std::int32_t& port, std::vector<AdapterRecord>& adapters)
{
    boost::unique_lock<boost::mutex> lock(context.mutex);
    context.condition.wait(lock);
    if (context.stopRequested ||
        (context.serverPort == port && SameAdapters(context.adapters, adapters)))
        return false;
    adapters = context.adapters;
    port = context.serverPort;
    return true;
}

} // namespace

void RunDiscoveryLoop(PluginContext& context)
{
    context.running = true;
    std::int32_t port = context.serverPort;
    std::vector<AdapterRecord> adapters;

    CDiscoveryManager manager;
    manager.log = &log::g_coreLog;
    manager.soap.types.emplace_back(kDeviceType);
    {
        const CIoThread ioThread(manager);
        while (!context.stopRequested) {
            if (!WaitForChange(context, port, adapters))
                continue;
            manager.StopAll();
            if (adapters.empty())
                continue;
            for (AdapterRecord& adapter : adapters)
                adapter.xAddr = Compose(kAddressScheme, adapter.ipAddress, ":", port);
            manager.Start(1, adapters);
        }
    }
    context.running = false;
}

} // namespace kx
