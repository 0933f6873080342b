#pragma once

namespace kx::tools {

/// SIGINT, SIGTERM and SIGHUP as something to poll. Constructed before the first thread is made:
/// every thread then inherits the blocked signals, and none of them is ever interrupted by one.
class CSignalQueue {
public:
    /// Blocks the signals in the calling thread, for good.
    ///
    /// Errors: std::system_error.
    CSignalQueue();
    CSignalQueue(const CSignalQueue&) = delete;
    CSignalQueue& operator=(const CSignalQueue&) = delete;
    ~CSignalQueue();

    /// Readable, as poll(2) has it, as soon as a signal came.
    int Descriptor() const { return descriptor; }

    /// Takes a signal that came, without waiting; 0 when none did.
    int Take() const;

private:
    int descriptor;
};

} // namespace kx::tools
