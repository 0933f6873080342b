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

/// Owns the endpoints of one run, one per adapter, and the I/O service that runs their handlers.
///
/// Order of calls: construct the manager; set `log` and `soap.types`; start the I/O thread; call
/// Start and StopAll any number of times; call Shutdown; join the I/O thread; destroy the manager.
///
/// Threads: the I/O thread runs RunIoService. The thread that calls RunDiscoveryLoop does all else;
/// comments call it the manager's thread, or "manager".
class CDiscoveryManager {
public:
    /// Errors: std::bad_alloc; boost::thread_resource_error when the I/O service cannot be created.
    /// If /dev/urandom cannot be read, the process ends, see CoCreateGuid.
    CDiscoveryManager();
    CDiscoveryManager(const CDiscoveryManager&) = delete;
    CDiscoveryManager& operator=(const CDiscoveryManager&) = delete;

    /// Creates and starts one endpoint per adapter, in order. Skips adapters at kUnservedAddress.
    ///
    /// @param multicastEnabled  as for the constructor of CDiscoveryUdp
    ///
    /// Errors: logs a std::runtime_error and returns. Other exceptions, such as std::bad_alloc,
    /// leave the function. In both cases the adapters after the failed one get no endpoint.
    ///
    /// Deliberate: an address that is not an IPv4 address ends the call in this way too. If only
    /// its adapter were skipped, recorders would announce themselves on networks where they have
    /// always been silent.
    void Start(std::int32_t multicastEnabled, const std::vector<AdapterRecord>& adapters);

    /// Lets every endpoint whose socket is open send a Bye, stops all endpoints and releases them.
    /// Returns when no asynchronous operation of an endpoint is outstanding, after 10 ms at least.
    /// This wait has no upper limit, because the host's callback may block the I/O thread. The
    /// endpoints may be destroyed shortly after the return.
    void StopAll();

    /// Calls StopAll, then lets RunIoService return.
    void Shutdown();

    /// Runs all handlers of the endpoints. Returns after Shutdown, when the last handler has run.
    ///
    /// Errors: logs a boost::system::system_error that a handler throws, and continues. Any other
    /// exception leaves this function and so ends the process.
    /// Threads: I/O.
    void RunIoService();

private:
    using IoService = boost::asio::io_context;
    using Work = boost::asio::executor_work_guard<IoService::executor_type>;

    boost::shared_ptr<IoService> ioService;
    /// Keeps RunIoService from returning while no operation is outstanding.
    /// Threads: I/O.
    boost::shared_ptr<Work> work;
    std::vector<boost::shared_ptr<CDiscoveryUdp>> endpoints;
    /// wsa:Address in all messages of the run: one UUID for all adapters.
    std::string endpointAddress;

public:
    CDiscoverySoap soap;              ///< all endpoints use it
    kx::log::ICoreLog* log = nullptr; ///< not owned; null: messages go to standard output
};

} // namespace kx
