#pragma once

#include "device_list.h"
#include "receiver.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <functional>

namespace kx::tools {

/// Asks all devices again, at intervals and whenever AskSoon is called, and reports those that no
/// longer answer. Within a round a Probe is repeated only while a device is silent, because every
/// recorder logs every Probe.
///
/// Must outlive the service's run. Threads: the one that runs the service.
class CRounds {
public:
    /// @param ask   sends a Probe on every adapter
    /// @param lost  called for each path that stopped responding
    CRounds(boost::asio::io_context& ioService, CReceiver& receiver, CDeviceList& devices,
            std::function<void()> ask, std::function<void(const Event&)> lost);

    /// Starts a round with the Probe that was just sent.
    void Start();

    /// Asks now, or at the end of the current round. Call it when a device appears that may be
    /// another one's successor, or when an adapter changes.
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
    int asked = 0; ///< Probes in this round; 0 between rounds
    bool again = false;
};

} // namespace kx::tools
