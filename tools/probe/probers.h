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
#include <vector>

namespace kx::tools {

/// The probers, one for each adapter that is asked for. When watching, they follow the adapters: a
/// device that is made again under its name, or that gets another address, has a new prober, as the
/// sockets of the old one are deaf.
///
/// An adapter that cannot be used is complained of once, until it can; the others go on. Where
/// sending fails it is tried again with each Probe; where no socket could be opened, as when no
/// file descriptor is left, only when the network changes.
///
/// Must outlive the service's run. Threads: the one that runs the service.
class CProbers {
public:
    using Complaint = std::function<void(const std::string&)>;

    /// @param options  outlive this
    CProbers(boost::asio::io_context& ioService, const ProbeOptions& options,
             CProber::OnHeard onHeard, Complaint complain);
    ~CProbers();
    CProbers(const CProbers&) = delete;
    CProbers& operator=(const CProbers&) = delete;

    /// Makes a prober for each adapter.
    ///
    /// Errors: std::runtime_error when an adapter is named that is none; when adapters cannot be
    /// read.
    void Open();

    /// Follows the adapters, when watching.
    ///
    /// @param changed  called when others may be in reach now
    ///
    /// Errors: std::runtime_error.
    void Follow(std::function<void()> changed);

    /// Sends a new Probe on each adapter. One on which it cannot be sent stays when watching, for
    /// that may pass.
    void Ask(const ProbeSchedule& schedule);

    bool None() const { return lines.empty(); }

    /// Datagrams so far that were no well-formed answer.
    int Malformed() const;

private:
    struct Line {
        Adapter adapter;
        std::shared_ptr<CProber> prober;
    };

    void Open(const Adapter& adapter);
    void ComplainOnce(const Adapter& adapter, const std::string& text);
    void AwaitChange();
    void OnChange();
    bool TakeOver(const std::vector<Adapter>& adapters, const std::set<int>& deleted);

    boost::asio::io_context& ioService;
    const ProbeOptions& options;
    const CProber::OnHeard onHeard;
    const Complaint complain;
    std::vector<Line> lines;
    std::set<std::string> unusable; ///< names of adapters that were complained of
    int formerMalformed = 0;        ///< of probers that are gone

    std::optional<CAdapterMonitor> monitor; // before the first look: nothing is missed in between
    boost::asio::posix::stream_descriptor monitored; ///< the monitor's, not to be closed
    boost::asio::steady_timer gathering;
    std::function<void()> onChanged;
};

} // namespace kx::tools
