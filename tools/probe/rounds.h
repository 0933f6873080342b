#pragma once

#include "device_list.h"
#include "receiver.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <functional>

namespace kx::tools {

/// Asks all devices again in rounds, 30 s after the end of the previous round or when AskSoon is
/// called, and reports the paths (see CDeviceList) that no longer answer.
///
/// A round sends a Probe and waits a second for the answers. If a path is silent that should have
/// answered, the round sends another Probe, up to three in all, because datagrams get lost. It
/// sends no more than needed, because every recorder logs each Probe that it answers.
///
/// Must outlive the run of the I/O service. Threads: the one that runs the I/O service.
class CRounds {
public:
    /// @param ask   sends a new Probe on every adapter
    /// @param lost  called with a kLost event for each path that stopped responding
    CRounds(boost::asio::io_context& ioService, CReceiver& receiver, CDeviceList& devices,
            std::function<void()> ask, std::function<void(const Event&)> lost);

    /// Starts a round. The caller has just sent the round's first Probe.
    void Start();

    /// Begins a round now or, during a round, as soon as that one ends. Call it when an adapter
    /// changes, or when a device says Hello that may be a listed one with a new wsa:Address.
    void AskSoon();

private:
    void Begin();
    void CheckSilent();
    void Rest();
    void Wait(std::chrono::steady_clock::duration time, void (CRounds::*next)());

    CReceiver& receiver;
    CDeviceList& devices;
    const std::function<void()> ask;
    const std::function<void(const Event&)> lost;
    boost::asio::steady_timer timer;
    int asked = 0;      ///< Probes sent in this round; 0 between rounds
    bool again = false; ///< AskSoon was called after the latest round began
};

} // namespace kx::tools
