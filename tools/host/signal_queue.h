#pragma once

namespace kx::tools {

/// Makes SIGINT, SIGTERM and SIGHUP readable from a descriptor. Construct it before the first
/// thread is created: every thread then inherits the blocked signals, and none is interrupted.
class CSignalQueue {
public:
    /// Blocks the signals in the calling thread and leaves them blocked.
    ///
    /// Errors: std::system_error.
    CSignalQueue();
    CSignalQueue(const CSignalQueue&) = delete;
    CSignalQueue& operator=(const CSignalQueue&) = delete;
    ~CSignalQueue();

    /// Returns a descriptor that becomes readable, as for poll(2), when a signal arrives.
    int Descriptor() const { return descriptor; }

    /// Returns the next signal that arrived, without waiting; 0 if there is none.
    int ReadNext() const;

private:
    int descriptor;
};

} // namespace kx::tools
