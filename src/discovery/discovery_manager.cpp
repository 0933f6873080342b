#include "discovery_manager.h"

#include "discovery_group.h"
#include "report.h"
#include "uuid.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/make_shared.hpp>
#include <boost/system/system_error.hpp>
#include <boost/version.hpp>

#include <algorithm>
#include <future>
#include <stdexcept>
#include <thread>

using boost::system::error_code;

namespace kx {

using log::kLogError;
using log::kLogInfo;
using log::Report;

namespace {

constexpr char kNoAddress[] = "0.0.0.0";

/// Holds the I/O thread inside a handler from its making to its end.
///
/// It need not wait until the thread is in: one thread runs the service, in the order in which work
/// became ready, so nothing that is started after the making can complete before the end.
class CIoGate {
public:
    explicit CIoGate(boost::asio::io_context& ioService)
    {
        boost::asio::post(ioService, [opened = gate.get_future().share()] { opened.wait(); });
    }
    CIoGate(const CIoGate&) = delete;
    CIoGate& operator=(const CIoGate&) = delete;
    ~CIoGate() { gate.set_value(); }

private:
    std::promise<void> gate;
};

/// Runs handlers until none are left; the number run. Later editions of the library report only by
/// exception.
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
    NewUuidString(endpointAddress);
    ioService = boost::make_shared<IoService>();
}

void CDiscoveryManager::Start(std::int32_t multicastEnabled,
                              const std::vector<AdapterRecord>& adapters)
{
    try {
        for (const AdapterRecord& adapter : adapters) {
            if (adapter.ipAddress == kNoAddress)
                continue;
            // The endpoint's first operations are started here while the I/O thread could already
            // complete them, and both would touch its fields. One gate an endpoint: those that are
            // set up already go on answering.
            const CIoGate gate(*ioService);
            EndpointDescription description;
            description.address = endpointAddress;
            description.xaddrs = adapter.xAddr;
            description.types = soap.types;
            const auto endpoint = boost::make_shared<CDiscoveryUdp>(
                *ioService, adapter, description, multicastEnabled, kMulticastGroup,
                kDiscoveryPort);
            endpoints.push_back(endpoint);
            endpoint->soap = &soap;
            endpoint->log = log;
            endpoint->Restart();
        }
    } catch (const boost::system::system_error& exception) {
        Report(log, kLogError, "Discovery encountered error (", exception.code(),
               "): ", exception.what());
    } catch (const std::runtime_error& exception) {
        Report(log, kLogError, "Discovery encountered error: ", exception.what());
    }
}

void CDiscoveryManager::StopAll()
{
    Report(log, kLogInfo, "Stopping discovery operations on all interfaces");
    for (const auto& endpoint : endpoints)
        boost::asio::dispatch(*ioService, [endpoint] { endpoint->SendBye(); });
    for (const auto& endpoint : endpoints)
        endpoint->StopOperations(true);
    do
        std::this_thread::sleep_for(kPollInterval);
    while (std::any_of(endpoints.begin(), endpoints.end(),
                       [](const auto& endpoint) { return endpoint->Busy(); }));

    // A handler uncounts itself first thing, so one may still be running on an idle endpoint. A
    // share on the I/O thread, behind that handler, outlives it. Copied: a post that throws
    // std::bad_alloc would destroy what was moved into it.
    boost::asio::post(*ioService, [released = endpoints] {});
    endpoints.clear();
}

void CDiscoveryManager::Shutdown()
{
    StopAll();
    // On the I/O thread: dropped from here, the guard could be made after it was dropped, and the
    // thread would never end.
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
