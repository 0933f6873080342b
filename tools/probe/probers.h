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

/// The probers: one for each adapter to ask on and, with --to, for each host to ask there. When
/// watching, they follow the adapters: a device that is made again under its name, or that gets
/// another address, gets new probers, since the sockets of the old ones hear nothing.
///
/// An adapter that cannot be used is complained of once, until it can; the others go on. Sending is
/// tried again with each Probe; opening a socket, which fails for example without a free file
/// descriptor, only when the network changes.
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

    /// Makes the probers.
    ///
    /// Errors: std::runtime_error when there is no adapter of a given name, none without names, or
    /// adapters cannot be read.
    void Open();

    /// Follows the adapters, when watching.
    ///
    /// @param changed  called when other devices may be in reach now
    ///
    /// Errors: std::runtime_error.
    void Follow(std::function<void()> changed);

    /// Sends a new Probe by each prober. When watching, one that cannot send stays, since that may
    /// pass.
    void Ask(const ProbeSchedule& schedule);

    bool None() const { return probers.empty(); }

    /// Returns the names of the adapters that are asked on; empty where routes choose them.
    std::vector<std::string> AdapterNames() const;

    IgnoredCounts Ignored() const;

    /// Returns how many datagrams the kernel dropped because a socket's buffer was full.
    std::uint64_t DroppedCount() const;

private:
    struct AdapterProber {
        Adapter adapter;
        std::shared_ptr<CProber> prober;
    };

    std::vector<Adapter> ReadPresentAdapters() const;
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
    /// What was complained of: adapters by name, and where each was to send.
    std::set<std::pair<std::string, boost::asio::ip::udp::endpoint>> unusable;
    IgnoredCounts formerIgnored; ///< by probers that are gone
    std::uint64_t formerDropped = 0;

    std::optional<CAdapterMonitor> monitor; ///< made before the first look, to miss no change
    boost::asio::posix::stream_descriptor monitored; ///< the monitor's, not to be closed
    boost::asio::steady_timer gathering;
    std::function<void()> onChanged;
};

} // namespace kx::tools
