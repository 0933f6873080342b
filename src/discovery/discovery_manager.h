#pragma once

#include "adapter_record.h"
#include "discovery_soap.h"
#include "discovery_udp.h"
#include "i_core_log.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/shared_ptr.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace kx {

/// Owns the endpoints of one run and the I/O service that drives them.
///
/// Order of calls: constructor; `log` and `soap.types` set; RunIoService on a separate thread;
/// Start and StopAll any number of times; Shutdown; that thread joined; destructor.
///
/// Threads: RunIoService is the I/O thread; everything else runs on the manager's thread.
class CDiscoveryManager {
public:
    /// Errors: boost::thread_resource_error when the I/O service cannot be created; a broken random
    /// device ends the process.
    CDiscoveryManager();
    CDiscoveryManager(const CDiscoveryManager&) = delete;
    CDiscoveryManager& operator=(const CDiscoveryManager&) = delete;

    /// Creates and starts one endpoint per adapter, in order; skips those at kUnservedAddress.
    ///
    /// @param multicastEnabled  see CDiscoveryUdp
    ///
    /// Errors: logged. Deliberate: an address that is not IPv4 ends the call, and the adapters
    /// after it are not started. If it were skipped, recorders would announce themselves on
    /// networks where they have always been silent.
    void Start(std::int32_t multicastEnabled, const std::vector<AdapterRecord>& adapters);

    /// Sends a Bye from every endpoint, stops and releases it. Takes at least 10 ms and returns
    /// when no operation is outstanding. That wait has no bound: the host's callback may hold the
    /// I/O thread. An endpoint is destroyed shortly after, when its last handler has returned.
    void StopAll();

    /// Stops everything and lets RunIoService return.
    void Shutdown();

    /// Runs all handlers of the endpoints; returns some time after Shutdown.
    ///
    /// Errors: boost::system::system_error of a handler is logged; other exceptions leave this
    /// function, which ends the process.
    void RunIoService();

private:
    using IoService = boost::asio::io_context;
    using Work = boost::asio::executor_work_guard<IoService::executor_type>;

    boost::shared_ptr<IoService> ioService;
    /// Keeps RunIoService from returning for lack of work. Created and reset on the I/O thread.
    boost::shared_ptr<Work> work;
    std::vector<boost::shared_ptr<CDiscoveryUdp>> endpoints;
    /// The advertised address, one UUID for all adapters of a run.
    std::string endpointAddress;

public:
    CDiscoverySoap soap;              ///< complete before Start; the endpoints share it
    kx::log::ICoreLog* log = nullptr; ///< not owned; null: messages go to standard output
};

} // namespace kx
