#include "discovery_manager.h"

#include "discovery_group.h"
#include "host_document.h"
#include "report.h"
#include "uuid.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/make_shared.hpp>
#include <boost/system/system_error.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/throw_exception.hpp>
#include <boost/version.hpp>

#include <algorithm>
#include <stdexcept>
#include <thread>

using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::Report;

namespace {

/// Calls io_context::run. With Boost 1.87 or later `error` is never set: run then reports errors by
/// exception only.
std::size_t RunHandlers(boost::asio::io_context& ioService, error_code& error)
{
#if BOOST_VERSION < 108700
    return ioService.run(error);
#else
    error.clear();
    return ioService.run();
#endif
}

} // namespace

CDiscoveryManager::CDiscoveryManager()
{
    // Deliberate: each run has a new endpoint address. With the same address for all runs, clients
    // would not notice a restart when the Bye is lost.
    // Deliberate: it is a bare UUID without "urn:uuid:", as installed clients expect.
    NewUuidString(endpointAddress);
    try {
        ioService = boost::make_shared<IoService>();
    } catch (const boost::system::system_error& error) {
        boost::throw_exception(boost::thread_resource_error(error.code().value(), "mutex"));
    }
}

void CDiscoveryManager::Start(std::int32_t multicastEnabled,
                              const std::vector<AdapterRecord>& adapters)
{
    try {
        for (const AdapterRecord& adapter : adapters) {
            if (adapter.ipAddress == kUnservedAddress)
                continue;
            const EndpointDescription description{
                endpointAddress, adapter.macAddress, soap.types, adapter.xAddr, {}};
            const auto endpoint = boost::make_shared<CDiscoveryUdp>(
                *ioService, adapter, description, multicastEnabled, kMulticastGroup,
                kDiscoveryPort);
            endpoints.push_back(endpoint);
            endpoint->soap = &soap;
            endpoint->log = log;
            endpoint->Restart();
        }
    } catch (const boost::system::system_error& exception) {
        // scripts/memcheck searches the log for this text.
        Report(log, kLogError, "Discovery encountered error (", exception.code(),
               "): ", exception.what());
    } catch (const std::runtime_error& exception) {
        Report(log, kLogError, "Discovery encountered error: ", exception.what());
    }
}

void CDiscoveryManager::StopAll()
{
    // Has to come first, with this text: from here on tools/soak/report.awk expects no answers.
    // tools/host/host_log.cpp and benchmarks/plugin_host.cpp count stops by it.
    Report(log, kLogInfo, "Stopping discovery operations on all interfaces");
    for (const auto& endpoint : endpoints)
        boost::asio::dispatch(*ioService, [endpoint] { endpoint->SendBye(); });
    for (const auto& endpoint : endpoints)
        endpoint->StopOperations(true);
    do
        std::this_thread::sleep_for(kPollInterval);
    while (std::any_of(endpoints.begin(), endpoints.end(),
                       [](const auto& endpoint) { return endpoint->Busy(); }));

    // An endpoint's last handler may still be running: completion handlers first decrement the
    // counts that Busy() reads, then do their work. The handler posted here runs after the last one
    // and keeps the endpoints alive until then. Copied, not moved: if post threw std::bad_alloc,
    // moved endpoints would be destroyed while in use.
    boost::asio::post(*ioService, [released = endpoints] {});
    endpoints.clear();
}

void CDiscoveryManager::Shutdown()
{
    StopAll();
    // The I/O thread resets `work`: the manager's thread could do so before RunIoService creates
    // it. Nothing would reset it later, and RunIoService would never return.
    boost::asio::post(*ioService, [this] { work.reset(); });
}

void CDiscoveryManager::RunIoService()
{
    work = boost::make_shared<Work>(boost::asio::make_work_guard(*ioService));
    for (;;) {
        try {
            error_code error;
            const std::size_t handlers = RunHandlers(*ioService, error);
            if (error) {
                Report(log, kLogError, "IO Service run error: ", error.message(),
                       "; return code=", handlers);
            }
            break;
        } catch (const boost::system::system_error& exception) {
            Report(log, kLogInfo, "Exception on the io_service thread. Error: ", exception.what());
        }
    }
    Report(log, kLogInfo, "io service thread exiting");
}

} // namespace kx
