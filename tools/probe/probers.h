#pragma once

#include "adapter_monitor.h"
#include "prober.h"
#include "run_probe.h"

#include <boost/asio/posix/stream_descriptor.hpp>

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace kx::tools {

/// The probers: one for each adapter and, with --to, for each host on each adapter. When watching,
/// they follow the adapters: a device that is created again under its name, or gets another
/// address, gets new probers, since the sockets of the old ones receive nothing.
///
/// An adapter that cannot be used is reported once until it can be used again; the others continue.
/// Sending is tried again with each Probe, opening a socket only when the network changes.
///
/// Must outlive the service's run. Threads: the one that runs the service.
class CProbers {
public:
    using Complaint = std::function<void(const std::string&)>;

    /// @param options  outlive this
    CProbers(boost::asio::io_context& ioService, CReceiver& receiver, const ProbeOptions& options,
             CProber::OnHeard onHeard, Complaint complain);
    ~CProbers();
    CProbers(const CProbers&) = delete;
    CProbers& operator=(const CProbers&) = delete;

    /// Creates the probers.
    ///
    /// Errors: std::runtime_error when a named adapter does not exist, when no adapter can be used,
    /// or when the adapters cannot be read.
    void Open();

    /// Follows the adapters, when watching.
    ///
    /// @param changed  called when other devices may be in reach now
    ///
    /// Errors: std::runtime_error.
    void Follow(std::function<void()> changed);

    /// Sends a new Probe by each prober. When watching, a prober that cannot send stays, since the
    /// failure may be temporary.
    void Ask(const ProbeSchedule& schedule);

    bool None() const { return probers.empty(); }

    /// Returns the names of the adapters in use; empty when the kernel's routes choose them.
    std::vector<std::string> AdapterNames() const;

    IgnoredCounts Ignored() const;

    /// Returns how many datagrams the kernel dropped because a socket's buffer was full.
    std::uint64_t DroppedCount() const;

private:
    struct AdapterProber {
        Adapter adapter;
        std::shared_ptr<CProber> prober;
    };

    void Open(const Adapter& adapter, const boost::asio::ip::udp::endpoint& destination);
    void ComplainOnce(const Adapter& adapter, const boost::asio::ip::udp::endpoint& destination,
                      const std::string& text);
    void AwaitChange();
    void OnChange();
    bool Adopt(const std::vector<Adapter>& adapters, const std::set<int>& deleted);
    void Drop(const AdapterProber& former);

    boost::asio::io_context& ioService;
    CReceiver& receiver;
    const ProbeOptions& options;
    const std::vector<boost::asio::ip::udp::endpoint> destinations;
    const CProber::OnHeard onHeard;
    const Complaint complain;
    std::vector<AdapterProber> probers;
    /// The failures reported so far: adapter's name and destination.
    std::set<std::pair<std::string, boost::asio::ip::udp::endpoint>> unusable;
    IgnoredCounts formerIgnored; ///< of the probers that were removed
    std::uint64_t formerDropped = 0;

    std::optional<CAdapterMonitor> monitor; ///< created before the first reading, to miss no change
    boost::asio::posix::stream_descriptor monitored; ///< the monitor's, not to be closed
    boost::asio::steady_timer gathering;
    std::function<void()> onChanged;
};

} // namespace kx::tools
