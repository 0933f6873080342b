#pragma once

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace kx::tools {

class CBatch;

/// A datagram as it was received.
struct Datagram {
    std::string data;
    boost::asio::ip::udp::endpoint source;
    int adapterIndex; ///< of the network device that it came in on
    std::chrono::steady_clock::time_point receivedAt;
};

/// Receives on UDP sockets in a separate thread, so that their buffers do not overflow during
/// parsing, or because of a slow terminal, when a whole site answers within a moment. Datagrams are
/// queued and handed over on the thread that runs the I/O service. While the queue is full,
/// datagrams stay in the sockets' buffers, where the kernel counts those that it drops.
///
/// Keeps the service running. Threads: all functions on the one that runs the service.
class CReceiver {
public:
    using OnDatagram = std::function<void(const Datagram&)>;
    /// Called when receiving fails; receiving on this socket then ends.
    using OnError = std::function<void(const boost::system::error_code&)>;

    /// Errors: std::system_error.
    explicit CReceiver(boost::asio::io_context& ioService);
    ~CReceiver();
    CReceiver(const CReceiver&) = delete;
    CReceiver& operator=(const CReceiver&) = delete;

    /// Receives on a socket until it is removed. An exception of a handler leaves the service's
    /// run, which may be continued.
    ///
    /// @param descriptor  of a socket with the option IP_PKTINFO (ip(7)); open until it is removed
    void Add(int descriptor, OnDatagram onDatagram, OnError onError);

    /// Stops receiving on a socket and drops its queued datagrams.
    void Remove(int descriptor);

    /// Returns whether received datagrams are not yet handed over.
    bool HasBacklog();

    /// Hands over everything that has arrived, then stops receiving.
    void Finish();

private:
    struct Handlers {
        OnDatagram onDatagram;
        OnError onError;
    };
    struct Received {
        int descriptor;
        std::shared_ptr<const Handlers> handlers; ///< shared: a handler may remove its own socket
        boost::system::error_code error;
        Datagram datagram;
    };

    void Run();                      ///< Threads: receiving
    bool Receive(int descriptor);    ///< Threads: receiving, and that of the service in Finish
    void Enqueue(Received received); ///< Threads: as Receive
    void Deliver();
    bool HandOverNext();
    void StopThread();

    boost::asio::io_context& ioService;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work;

    std::mutex mutex; ///< guards the fields below and each system call on the sockets
    std::condition_variable roomMade;
    std::map<int, std::shared_ptr<const Handlers>> sockets; ///< by descriptor
    std::deque<Received> queue;
    std::size_t queuedBytes = 0;
    bool deliveryPosted = false;
    bool stopping = false;

    const int wakeUp; ///< eventfd(2): ends a wait of the thread
    const std::unique_ptr<CBatch> batch;
    std::thread thread;
};

} // namespace kx::tools
