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

/// Owns the probers: without --to one for each adapter; with --to one for each host; with --to and
/// --adapter one for each host on each named adapter.
///
/// When watching, it follows the adapters (see Follow). It replaces the probers of an adapter that
/// is created again or gets another address: their sockets are tied to the old device and address.
///
/// If an adapter cannot be used, the others continue. The user is told once for each destination,
/// and again only if a Probe could be sent there in the meantime; for failures between two calls of
/// Ask, see CProber. When watching, each Ask tries again to send, and each change of an adapter
/// tries again to open sockets.
///
/// Must outlive the run of the I/O service. Threads: the one that runs the I/O service.
class CProbers {
public:
    using Complaint = std::function<void(const std::string&)>;

    /// @param options  must outlive this object
    ///
    /// Errors: std::runtime_error when the adapters cannot be followed.
    CProbers(boost::asio::io_context& ioService, CReceiver& receiver, const ProbeOptions& options,
             CProber::OnHeard onHeard, Complaint complain);
    ~CProbers();
    CProbers(const CProbers&) = delete;
    CProbers& operator=(const CProbers&) = delete;

    /// Creates the probers.
    ///
    /// Errors: those of ReadAdapters, SelectAdapters and ReadUsableAdapters. A failure to open a
    /// socket is only reported to `complain`.
    void Open();

    /// When watching, follows the adapters. Changes since this object was created are noticed too.
    /// Does nothing when the kernel's routes choose the adapters (--to without --adapter).
    ///
    /// @param changed  called when an adapter appears, disappears or changes its address or state,
    ///                 because other devices may then be within reach
    ///
    /// Errors: std::runtime_error.
    void Follow(std::function<void()> changed);

    /// Sends new Probes with each prober. Unless watching, removes a prober that cannot send; when
    /// watching, the failure may be temporary.
    void Ask(const ProbeSchedule& schedule);

    bool None() const { return probers.empty(); }

    /// Returns the names of the adapters in use; empty when the kernel's routes choose them.
    std::vector<std::string> AdapterNames() const;

    IgnoredCounts Ignored() const;

    /// Returns the sum for all probers, removed ones included.
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
    void OnChangeAfter(std::chrono::steady_clock::duration time);
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
    /// Adapter name and destination of each failure that was reported and has not ended.
    std::set<std::pair<std::string, boost::asio::ip::udp::endpoint>> unusable;
    IgnoredCounts formerIgnored;     ///< by the probers that were removed
    std::uint64_t formerDropped = 0; ///< by the sockets of those probers

    /// None if the adapters are not followed. Created before the adapters are first read, so that
    /// no later change is missed.
    std::optional<CAdapterMonitor> monitor;
    /// The descriptor of `monitor`. The monitor closes it; the destructor only releases it.
    boost::asio::posix::stream_descriptor monitored;
    boost::asio::steady_timer gathering; ///< see kAdapterGatherTime
    /// Indexes of the network devices deleted since the adapters were last read.
    std::set<int> deletedIndexes;
    std::function<void()> onChanged;
};

} // namespace kx::tools
