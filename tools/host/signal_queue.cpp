#include "signal_queue.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace kx::tools {

CSignalQueue::CSignalQueue()
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int each : {SIGINT, SIGTERM, SIGHUP})
        sigaddset(&signals, each);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    descriptor = signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "cannot wait for signals");
}

CSignalQueue::~CSignalQueue()
{
    close(descriptor);
}

int CSignalQueue::ReadNext() const
{
    signalfd_siginfo signal{};
    return read(descriptor, &signal, sizeof(signal)) == sizeof(signal)
               ? static_cast<int>(signal.ssi_signo)
               : 0;
}

} // namespace kx::tools
