#include "discovery_run_loop.h"

#include "core_log.h"
#include "discovery_manager.h"
#include "text.h"
#include "uris.h"

#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/throw_exception.hpp>

#include <algorithm>
#include <iterator>
#include <system_error>
#include <thread>
#include <tuple>

namespace kx {
namespace {

constexpr char kAddressScheme[] = "ktzkx://";

/// The I/O thread of a run. The destructor stops the manager and joins the thread.
///
/// Not a boost::thread: its functions could come from another version of Boost.Thread that the host
/// has loaded.
class CIoThread {
public:
    /// Errors: std::bad_alloc; boost::thread_resource_error when the thread cannot be started.
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
    // An exception here has to end the process: without the join, the I/O thread would go on using
    // a destroyed manager.
    ~CIoThread() // NOLINT(bugprone-exception-escape): see above
    {
        manager.Shutdown();
        thread.join();
    }

private:
    CDiscoveryManager& manager;
    std::thread thread;
};

/// Returns whether two lists hold the same adapters, `xAddr` aside, in the same order.
///
/// Deliberate: another order is a change. Otherwise a server that reorders the adapters to restart
/// all endpoints would restart none.
bool SameAdapters(const std::vector<AdapterRecord>& left, const std::vector<AdapterRecord>& right)
{
    const auto key = [](const AdapterRecord& adapter) {
        return std::tie(adapter.ipAddress, adapter.handle, adapter.macAddress);
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](const auto& one, const auto& other) { return key(one) == key(other); });
}

/// Waits once for the context's condition. Then returns false if a stop was requested or the
/// context's port and adapters equal the arguments. Otherwise copies both to the arguments and
/// returns true.
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
    manager.soap.types.assign(std::begin(kDeviceTypes), std::end(kDeviceTypes));
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
