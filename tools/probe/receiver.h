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
    int adapterIndex; ///< index of the network device that received it
    std::chrono::steady_clock::time_point receivedAt;
};

/// Receives on UDP sockets in a separate thread, and hands the datagrams over on the thread that
/// runs the I/O service. That thread also parses and prints: if it received too, the sockets'
/// buffers would overflow when all devices of a large site answer at the same time.
///
/// While the queue between the threads is full (64 MB), further datagrams stay in the sockets'
/// buffers. The kernel drops and counts those that do not fit.
///
/// While this object exists, the run of the I/O service does not end by itself. Threads: public
/// functions on the thread that runs the I/O service.
class CReceiver {
public:
    using OnDatagram = std::function<void(const Datagram&)>;
    /// Called when receiving on the socket has failed. Nothing more is received on it.
    using OnError = std::function<void(const boost::system::error_code&)>;

    /// Starts the thread. Errors: std::system_error.
    explicit CReceiver(boost::asio::io_context& ioService);
    ~CReceiver();
    CReceiver(const CReceiver&) = delete;
    CReceiver& operator=(const CReceiver&) = delete;

    /// Receives on a socket until it is removed. If a handler throws, the run of the I/O service,
    /// or Finish, throws the exception; both may then be called again.
    ///
    /// @param descriptor  a socket with the option IP_PKTINFO (ip(7)); must stay open until Remove
    void Add(int descriptor, OnDatagram onDatagram, OnError onError);

    /// Stops receiving on a socket and discards its queued datagrams.
    void Remove(int descriptor);

    /// Returns whether datagrams wait in the queue.
    bool HasBacklog();

    /// Stops the thread, then hands over all datagrams in the queue and in the sockets' buffers.
    void Finish();

private:
    struct Handlers {
        OnDatagram onDatagram;
        OnError onError;
    };
    struct Received {
        int descriptor;
        /// Shared, because a handler may remove its own socket while it runs.
        std::shared_ptr<const Handlers> handlers;
        boost::system::error_code error;
        Datagram datagram;

        std::size_t Size() const { return sizeof(*this) + datagram.data.size(); }
    };

    void Run();                      ///< Threads: the receiving thread
    bool Receive(int descriptor);    ///< Threads: the receiving thread; in Finish, the caller's
    void Enqueue(Received received); ///< Threads: as Receive
    void Deliver();
    bool HandOverNext();
    void StopThread();

    boost::asio::io_context& ioService;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work;

    /// Guards the fields from here to `stopping`. Locked while Receive runs, so that the caller of
    /// Remove may close the socket afterwards.
    std::mutex mutex;
    std::condition_variable roomMade; ///< the queue has space again, or `stopping` is set
    std::map<int, std::shared_ptr<const Handlers>> sockets; ///< by descriptor
    std::deque<Received> queue;
    std::size_t queuedBytes = 0;
    bool deliveryPosted = false;
    bool stopping = false;

    const int wakeUp;                    ///< an eventfd(2), which ends a poll(2) of the thread
    const std::unique_ptr<CBatch> batch; ///< used only under the mutex
    std::thread thread;
};

} // namespace kx::tools
