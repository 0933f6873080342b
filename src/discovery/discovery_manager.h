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
/// Life: constructed; `log` and `soap.types` set; RunIoService on a thread of its own; any number
/// of Start and StopAll; Shutdown; that thread joined; destroyed.
///
/// Threads: the manager's thread calls everything but RunIoService, which is the I/O thread.
class CDiscoveryManager {
public:
    /// Errors: boost::system::system_error when the I/O service cannot be made; a broken random
    /// device ends the process.
    CDiscoveryManager();
    CDiscoveryManager(const CDiscoveryManager&) = delete;
    CDiscoveryManager& operator=(const CDiscoveryManager&) = delete;

    /// Creates and starts one endpoint per adapter, in order; an adapter at 0.0.0.0 is skipped.
    ///
    /// @param multicastEnabled  see CDiscoveryUdp
    ///
    /// Errors: logged. Deliberate: an adapter whose address is no IPv4 text ends the call, and
    /// those after it are not started.
    void Start(std::int32_t multicastEnabled, const std::vector<AdapterRecord>& adapters);

    /// Stops and releases every endpoint, each with a Bye. Returns when nothing is outstanding on
    /// them, which has no bound: the I/O thread may be held inside a log record. Takes 10 ms at
    /// least. An endpoint itself ends shortly after, once the I/O thread has left its last handler.
    void StopAll();

    /// Stops everything and lets the I/O thread end.
    void Shutdown();

    /// The body of the I/O thread; returns some time after Shutdown.
    ///
    /// Errors: the library's system errors are logged and survived; others leave this function.
    void RunIoService();

private:
    using IoService = boost::asio::io_context;
    using Work = boost::asio::executor_work_guard<IoService::executor_type>;

    boost::shared_ptr<IoService> ioService;
    /// Keeps RunIoService from running out of work. Made and dropped on the I/O thread.
    boost::shared_ptr<Work> work;
    std::vector<boost::shared_ptr<CDiscoveryUdp>> endpoints;
    /// The advertised address: one UUID for all adapters of a run.
    std::string endpointAddress;

public:
    CDiscoverySoap soap;              ///< complete before Start; shared by the endpoints
    kx::log::ICoreLog* log = nullptr; ///< not owned; null: messages go to standard output
};

} // namespace kx
