#pragma once

namespace kx::tools {

/// Receives SIGINT, SIGTERM and SIGHUP through a descriptor, signalfd(2). Construct it before any
/// thread is created, so that all threads inherit the blocked signals: a signal to a thread that
/// does not block it would end the process.
class CSignalQueue {
public:
    /// Blocks the signals in the calling thread. They stay blocked after the destructor.
    ///
    /// Errors: std::system_error when the descriptor cannot be created.
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
