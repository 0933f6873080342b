#pragma once

#include "device_list.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>

#include <functional>

namespace kx::tools {

/// Asks all devices again, at times and whenever there is doubt, and tells of those that do not
/// answer any more. A Probe in a round is sent again only while somebody is silent: each recorder
/// logs each of them.
///
/// Must outlive the service's run. Threads: the one that runs the service.
class CRounds {
public:
    /// @param ask   sends a Probe on every adapter
    /// @param lost  called for each path that fell silent
    CRounds(boost::asio::io_context& ioService, CDeviceList& devices, std::function<void()> ask,
            std::function<void(const Event&)> lost);

    /// Takes the Probe that was just sent for the first one of a round.
    void Start();

    /// Asks at once, or as soon as the round under way is over: somebody has come who may be
    /// another one's successor, or an adapter is back.
    void AskSoon();

private:
    void Begin();
    void Judge();
    void Rest();
    void Wait(std::chrono::steady_clock::duration time, void (CRounds::*next)());

    CDeviceList& devices;
    const std::function<void()> ask;
    const std::function<void(const Event&)> lost;
    boost::asio::steady_timer timer;
    int asked = 0; ///< Probes in this round; 0 between rounds
    bool again = false;
};

} // namespace kx::tools
