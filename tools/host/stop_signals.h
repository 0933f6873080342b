#pragma once

#include <chrono>
#include <csignal>

namespace kx::tools {

/// SIGINT and SIGTERM as something to wait for. Constructed before the first thread is made: every
/// thread then inherits the blocked signals, and none but the waiter ever gets one.
class StopSignals {
public:
    /// Blocks both signals in the calling thread, for good.
    StopSignals();

    /// Waits for one of the signals by sigtimedwait(2); false when `limit` went by without.
    bool WaitFor(std::chrono::nanoseconds limit) const;

private:
    sigset_t signals;
};

} // namespace kx::tools
