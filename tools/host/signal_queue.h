#pragma once

namespace kx::tools {

/// SIGINT, SIGTERM and SIGHUP as something to poll. Constructed before the first thread is made:
/// every thread then inherits the blocked signals, and none of them is ever interrupted by one.
class SignalQueue {
public:
    /// Blocks the signals in the calling thread, for good.
    ///
    /// Errors: std::system_error.
    SignalQueue();
    SignalQueue(const SignalQueue&) = delete;
    SignalQueue& operator=(const SignalQueue&) = delete;
    ~SignalQueue();

    /// Readable, as poll(2) has it, as soon as a signal came.
    int Descriptor() const { return descriptor; }

    /// Takes a signal that came, without waiting; 0 when none did.
    int Take() const;

private:
    int descriptor;
};

} // namespace kx::tools
