#include "stop_signals.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <pthread.h>

namespace kx::tools {

StopSignals::StopSignals()
{
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

bool StopSignals::WaitFor(std::chrono::nanoseconds limit) const
{
    using std::chrono::nanoseconds;
    using std::chrono::seconds;
    const auto end = std::chrono::steady_clock::now() + limit;
    for (;;) {
        const nanoseconds left =
            std::max(nanoseconds::zero(), nanoseconds(end - std::chrono::steady_clock::now()));
        const auto wholeSeconds = std::chrono::duration_cast<seconds>(left);
        const timespec timeout{wholeSeconds.count(), (left - wholeSeconds).count()};
        if (sigtimedwait(&signals, nullptr, &timeout) > 0)
            return true;
        // Another signal with a handler, or a stop and continuation of the process, interrupts.
        if (errno != EINTR)
            return false;
    }
}

} // namespace kx::tools
