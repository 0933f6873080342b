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

/// Runs handlers until there is no more work; returns how many it ran. Boost 1.87 and later report
/// errors only by exception.
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
    // Deliberate: each run has a new address. If it kept the old one, clients would not notice a
    // restart whose Bye was lost. No "urn:uuid:" precedes it: installed clients expect none.
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
        // scripts/memcheck relies on the text.
        Report(log, kLogError, "Discovery encountered error (", exception.code(),
               "): ", exception.what());
    } catch (const std::runtime_error& exception) {
        Report(log, kLogError, "Discovery encountered error: ", exception.what());
    }
}

void CDiscoveryManager::StopAll()
{
    // Logged before all other records of the stop: tools/host/host_log.cpp, tools/soak/report.awk
    // and benchmarks/plugin_host.cpp recognise the beginning of a stop by this text.
    Report(log, kLogInfo, "Stopping discovery operations on all interfaces");
    for (const auto& endpoint : endpoints)
        boost::asio::dispatch(*ioService, [endpoint] { endpoint->SendBye(); });
    for (const auto& endpoint : endpoints)
        endpoint->StopOperations(true);
    do
        std::this_thread::sleep_for(kPollInterval);
    while (std::any_of(endpoints.begin(), endpoints.end(),
                       [](const auto& endpoint) { return endpoint->Busy(); }));

    // A handler decrements the count before it does its work, so one may still be running here. The
    // posted copy keeps the endpoints alive until it has returned. Not a move: if post threw
    // std::bad_alloc, the moved endpoints would be destroyed at once.
    boost::asio::post(*ioService, [released = endpoints] {});
    endpoints.clear();
}

void CDiscoveryManager::Shutdown()
{
    StopAll();
    // On the I/O thread: a reset on this thread could come before RunIoService creates the guard,
    // which would then never be reset.
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
