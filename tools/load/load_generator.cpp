#include "load_generator.h"

#include "discovery_group.h"

#include <boost/asio/ip/multicast.hpp>

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <system_error>

using boost::asio::ip::udp;
using std::chrono::duration_cast;
using std::chrono::nanoseconds;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

/// Datagrams that go into one system call.
constexpr std::size_t kBatch = 64;
constexpr std::size_t kMaxAnswerSize = 4096;
constexpr int kSocketBufferSize = 1024 * 1024;
constexpr std::chrono::seconds kAnswerBound{1};

int Check(int outcome, const char* what)
{
    if (outcome < 0)
        throw std::system_error(errno, std::generic_category(), what);
    return outcome;
}

udp::socket MakeSocket(boost::asio::io_context& ioService, const Load& load)
{
    udp::socket socket(ioService, {load.from, 0});
    socket.set_option(udp::socket::receive_buffer_size(kSocketBufferSize));
    if (load.destination.is_multicast())
        socket.set_option(boost::asio::ip::multicast::outbound_interface(load.from));
    return socket;
}

/// The records of sendmmsg(2) and recvmmsg(2) for up to kBatch datagrams. Where they are sent to is
/// the same for all.
class CBatch {
public:
    CBatch(std::vector<std::string>& datagrams, sockaddr_in* peer)
    {
        for (std::size_t index = 0; index < datagrams.size(); ++index) {
            pieces[index] = {datagrams[index].data(), datagrams[index].size()};
            msghdr& header = headers[index].msg_hdr;
            header.msg_iov = &pieces[index];
            header.msg_iovlen = 1;
            header.msg_name = peer;
            header.msg_namelen = peer ? sizeof(*peer) : 0;
        }
    }

    mmsghdr headers[kBatch]{};

private:
    iovec pieces[kBatch]{};
};

} // namespace

CLoadGenerator::CLoadGenerator(const Load& wanted)
    : load(wanted),
      message(load.form),
      outgoing(kBatch, message.Text()),
      incoming(kBatch, std::string(kMaxAnswerSize, '\0'))
{
    for (int count = 0; count < load.sources; ++count)
        sockets.push_back(MakeSocket(ioService, load));
}

LoadResult CLoadGenerator::Run()
{
    // Otherwise the kernel lets each wait be 50 us longer, which no higher rate could do with.
    Check(prctl(PR_SET_TIMERSLACK, 1), "prctl");
    start = steady_clock::now();
    for (;;) {
        const Time now = steady_clock::now();
        Expire(now);
        if (Sending(now))
            Send(Due(now), now);
        else if (open == 0)
            return result;
        // In a closed loop it looks again at once: to wake it for an answer would be work of
        // whoever sends that.
        if (load.rate > 0)
            Wait(NextTurn(now));
        Receive();
    }
}

/// How many messages should be on their way by now and are not.
std::uint64_t CLoadGenerator::Due(Time now) const
{
    std::uint64_t due = load.inFlight - open;
    if (load.rate > 0) {
        const std::chrono::duration<double> elapsed = now - start;
        const auto total = static_cast<std::uint64_t>(elapsed.count() * load.rate) + 1;
        due = total - std::min(total, result.sent);
    }
    return std::min({due, load.count - result.sent, std::uint64_t{kBatch}});
}

/// At a rate: when there will be something to do even if no answer comes.
CLoadGenerator::Time CLoadGenerator::NextTurn(Time now) const
{
    Time next = now + kAnswerBound;
    if (!awaited.empty())
        next = std::min(next, awaited.front().sentAt + kAnswerBound);
    if (!Sending(now))
        return next;
    const std::chrono::duration<double> due(static_cast<double>(result.sent) / load.rate);
    next = std::min(next, start + duration_cast<nanoseconds>(due));
    return std::min(next, start + load.time);
}

void CLoadGenerator::Send(std::uint64_t due, Time now)
{
    if (due == 0)
        return;
    for (std::uint64_t index = 0; index < due; ++index)
        message.Number(outgoing[index], result.sent + index);
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_port = htons(kDiscoveryPort);
    peer.sin_addr.s_addr = htonl(load.destination.to_uint());
    CBatch batch(outgoing, &peer);

    // The ports take turns by the batch.
    std::rotate(sockets.begin(), sockets.begin() + 1, sockets.end());
    for (std::uint64_t done = 0; done < due;) {
        done += static_cast<std::uint64_t>(
            Check(sendmmsg(sockets.front().native_handle(), batch.headers + done,
                           static_cast<unsigned>(due - done), 0),
                  "sendmmsg"));
    }
    result.sent += due;
    result.elapsed = now - start;
    if (load.answered) {
        awaited.insert(awaited.end(), due, Awaited{now, false});
        open += due;
    }
}

void CLoadGenerator::Wait(Time until)
{
    std::vector<pollfd> readable;
    if (load.answered) {
        for (auto& socket : sockets)
            readable.push_back({socket.native_handle(), POLLIN, 0});
    }
    const auto wait =
        std::max(duration_cast<nanoseconds>(until - steady_clock::now()), nanoseconds::zero());
    const timespec bound{wait / std::chrono::seconds(1), (wait % std::chrono::seconds(1)).count()};
    Check(ppoll(readable.data(), readable.size(), &bound, nullptr), "ppoll");
}

void CLoadGenerator::Receive()
{
    if (!load.answered)
        return;
    for (auto& socket : sockets) {
        CBatch batch(incoming, nullptr);
        const int count =
            recvmmsg(socket.native_handle(), batch.headers, kBatch, MSG_DONTWAIT, nullptr);
        if (count < 0 && errno == EAGAIN)
            continue;
        Check(count, "recvmmsg");
        const Time now = steady_clock::now();
        for (int index = 0; index < count; ++index)
            TakeAnswer(
                {incoming[static_cast<std::size_t>(index)].data(), batch.headers[index].msg_len},
                now);
    }
}

void CLoadGenerator::TakeAnswer(std::string_view answer, Time now)
{
    const auto number = message.NumberIn(answer);
    if (!number || *number < firstAwaited || *number - firstAwaited >= awaited.size())
        return;
    Awaited& question = awaited[*number - firstAwaited];
    if (question.answered)
        return;
    question.answered = true;
    --open;
    ++result.answered;
    result.roundTrips.push_back(
        static_cast<std::uint32_t>(duration_cast<nanoseconds>(now - question.sentAt).count()));
    result.elapsed = now - start;
}

void CLoadGenerator::Expire(Time now)
{
    while (!awaited.empty() &&
           (awaited.front().answered || awaited.front().sentAt + kAnswerBound <= now)) {
        if (!awaited.front().answered) {
            --open;
            ++result.lost;
        }
        awaited.pop_front();
        ++firstAwaited;
    }
}

} // namespace kx::tools
