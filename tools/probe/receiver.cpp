#include "receiver.h"

#include <boost/asio/post.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <netinet/in.h>
#include <numeric>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace kx::tools {
namespace {

constexpr std::size_t kBatchSize = 64;
constexpr std::size_t kMaxDatagramSize = 65536; // no UDP datagram is longer
constexpr std::size_t kMaxQueuedBytes = 64'000'000;

} // namespace

/// Receives several datagrams with one system call, recvmmsg(2), and holds its buffers.
class CBatch {
public:
    CBatch() : text(kBatchSize * kMaxDatagramSize) {}

    /// Receives without waiting. Returns the number of datagrams; -1 with errno on an error, EAGAIN
    /// when none has arrived.
    int Receive(int descriptor)
    {
        for (std::size_t index = 0; index < kBatchSize; ++index) {
            pieces[index] = {&text[index * kMaxDatagramSize], kMaxDatagramSize};
            msghdr& header = headers[index].msg_hdr;
            header = {};
            header.msg_name = &sources[index];
            header.msg_namelen = sizeof(sources[index]);
            header.msg_iov = &pieces[index];
            header.msg_iovlen = 1;
            header.msg_control = &controls[index];
            header.msg_controllen = sizeof(controls[index]);
        }
        return recvmmsg(descriptor, headers.data(), kBatchSize, MSG_DONTWAIT, nullptr);
    }

    Datagram At(std::size_t index, std::chrono::steady_clock::time_point receivedAt)
    {
        const sockaddr_in& source = sources[index];
        return {
            std::string(&text[index * kMaxDatagramSize], headers[index].msg_len),
            {boost::asio::ip::address_v4(ntohl(source.sin_addr.s_addr)), ntohs(source.sin_port)},
            AdapterIndex(headers[index].msg_hdr),
            receivedAt};
    }

private:
    static int AdapterIndex(msghdr& header)
    {
        for (cmsghdr* each = CMSG_FIRSTHDR(&header); each; each = CMSG_NXTHDR(&header, each)) {
            if (each->cmsg_level == IPPROTO_IP && each->cmsg_type == IP_PKTINFO)
                return reinterpret_cast<const in_pktinfo*>(CMSG_DATA(each))->ipi_ifindex;
        }
        return 0;
    }

    struct alignas(cmsghdr) Control {
        char bytes[CMSG_SPACE(sizeof(in_pktinfo))];
    };
    std::vector<char> text;
    std::array<mmsghdr, kBatchSize> headers{};
    std::array<iovec, kBatchSize> pieces{};
    std::array<sockaddr_in, kBatchSize> sources{};
    std::array<Control, kBatchSize> controls{};
};

CReceiver::CReceiver(boost::asio::io_context& service)
    : ioService(service),
      work(service.get_executor()),
      wakeUp(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      batch(std::make_unique<CBatch>())
{
    if (wakeUp < 0)
        throw std::system_error(errno, std::generic_category(), "eventfd");
    thread = std::thread([this] { Run(); });
}

CReceiver::~CReceiver()
{
    StopThread();
    close(wakeUp);
}

void CReceiver::Add(int descriptor, OnDatagram onDatagram, OnError onError)
{
    const std::lock_guard<std::mutex> lock(mutex);
    sockets[descriptor] =
        std::make_shared<Handlers>(Handlers{std::move(onDatagram), std::move(onError)});
    eventfd_write(wakeUp, 1);
}

void CReceiver::Remove(int descriptor)
{
    const std::lock_guard<std::mutex> lock(mutex);
    sockets.erase(descriptor);
    const auto isOfSocket = [&](const Received& each) { return each.descriptor == descriptor; };
    queue.erase(std::remove_if(queue.begin(), queue.end(), isOfSocket), queue.end());
    queuedBytes =
        std::accumulate(queue.begin(), queue.end(), std::size_t{0},
                        [](std::size_t sum, const Received& each) { return sum + each.Size(); });
    roomMade.notify_one();
}

bool CReceiver::HasBacklog()
{
    const std::lock_guard<std::mutex> lock(mutex);
    return !queue.empty();
}

void CReceiver::Finish()
{
    StopThread();
    {
        const std::lock_guard<std::mutex> lock(mutex);
        // Iterates over a copy, because Receive erases a socket that fails.
        const auto open = sockets;
        for (const auto& each : open) {
            // Without a limit, this would not end while datagrams arrive faster than they are read.
            // kMaxQueuedBytes is about what a socket's buffer can hold: the kernel doubles the
            // requested 32 MB (socket(7)).
            const std::size_t limit = queuedBytes + kMaxQueuedBytes;
            while (queuedBytes < limit && Receive(each.first))
                continue;
        }
    }
    while (HandOverNext())
        continue;
}

void CReceiver::StopThread()
{
    if (!thread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    roomMade.notify_one();
    eventfd_write(wakeUp, 1);
    thread.join();
}

/// Receives until StopThread is called.
void CReceiver::Run()
{
    // SIGINT and SIGTERM are for the thread of the I/O service, which blocks them after the first
    // one. If they were not blocked here too, a second one would kill the process.
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, nullptr);
    for (;;) {
        std::vector<pollfd> polled{{wakeUp, POLLIN, 0}};
        {
            std::unique_lock<std::mutex> lock(mutex);
            roomMade.wait(lock, [this] { return stopping || queuedBytes < kMaxQueuedBytes; });
            if (stopping)
                return;
            for (const auto& each : sockets)
                polled.push_back({each.first, POLLIN, 0});
        }
        poll(polled.data(), polled.size(), -1);

        const std::lock_guard<std::mutex> lock(mutex);
        eventfd_t ignored = 0;
        eventfd_read(wakeUp, &ignored);
        for (const pollfd& each : polled) {
            if (each.revents != 0 && sockets.count(each.fd) > 0)
                Receive(each.fd);
        }
    }
}

/// Receives and queues up to kBatchSize datagrams of a socket. The caller holds the mutex.
///
/// @return whether the socket may have more datagrams
bool CReceiver::Receive(int descriptor)
{
    const int count = batch->Receive(descriptor);
    if (count < 0) {
        if (errno != EAGAIN && errno != EINTR) {
            Enqueue(
                {descriptor, sockets[descriptor], {errno, boost::system::system_category()}, {}});
            sockets.erase(descriptor);
        }
        return false;
    }
    const auto now = std::chrono::steady_clock::now();
    for (std::size_t index = 0; index < static_cast<std::size_t>(count); ++index)
        Enqueue({descriptor, sockets[descriptor], {}, batch->At(index, now)});
    return true;
}

void CReceiver::Enqueue(Received received)
{
    queuedBytes += received.Size();
    queue.push_back(std::move(received));
    if (!std::exchange(deliveryPosted, true))
        boost::asio::post(ioService, [this] { Deliver(); });
}

/// Hands over at most kBatchSize datagrams, so that the I/O service handles timers and signals in
/// between.
void CReceiver::Deliver()
{
    {
        const std::lock_guard<std::mutex> lock(mutex);
        deliveryPosted = !queue.empty();
        // Posts the next call first: if a handler below throws, the rest of the queue is still
        // handed over.
        if (deliveryPosted)
            boost::asio::post(ioService, [this] { Deliver(); });
    }
    for (std::size_t count = 0; count < kBatchSize && HandOverNext(); ++count)
        continue;
}

/// Hands over the oldest datagram or error of the queue.
///
/// @return false when the queue is empty
bool CReceiver::HandOverNext()
{
    Received next;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        if (queue.empty())
            return false;
        next = std::move(queue.front());
        queue.pop_front();
        queuedBytes -= next.Size();
    }
    roomMade.notify_one();
    if (next.error)
        next.handlers->onError(next.error);
    else
        next.handlers->onDatagram(next.datagram);
    return true;
}

} // namespace kx::tools
