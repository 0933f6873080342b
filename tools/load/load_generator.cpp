#include "load_generator.h"

#include "discovery_group.h"
#include "printable.h"

#include <boost/asio/ip/multicast.hpp>

#include <algorithm>
#include <cerrno>
#include <netinet/in.h>
#include <ostream>
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

/// Datagrams in one call of sendmmsg(2) or recvmmsg(2).
constexpr std::size_t kMaxBatchSize = 64;
constexpr std::size_t kMaxAnswerSize = 4096;
constexpr int kSocketBufferSize = 1024 * 1024;
/// Time after which a message without an answer counts as lost.
constexpr std::chrono::seconds kAnswerBound{1};

int ThrowOnError(int outcome, const char* what)
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

/// The arguments of sendmmsg(2) or recvmmsg(2) for up to kMaxBatchSize datagrams. They point into
/// `datagrams`, which outlives this object.
class CBatch {
public:
    CBatch(std::vector<std::string>& datagrams, const sockaddr_in& destination)
    {
        for (std::size_t index = 0; index < datagrams.size(); ++index) {
            pieces[index] = {datagrams[index].data(), datagrams[index].size()};
            msghdr& header = headers[index].msg_hdr;
            header.msg_iov = &pieces[index];
            header.msg_iovlen = 1;
            peers[index] = destination;
            header.msg_name = &peers[index];
            header.msg_namelen = sizeof(sockaddr_in);
        }
    }

    mmsghdr headers[kMaxBatchSize]{};
    sockaddr_in peers[kMaxBatchSize]{}; ///< destination or source of each datagram

private:
    iovec pieces[kMaxBatchSize]{};
};

} // namespace

CLoadGenerator::CLoadGenerator(const Load& wanted)
    : load(wanted),
      messages(load.templates),
      socket(MakeSocket(ioService, load)),
      outgoing(kMaxBatchSize),
      incoming(kMaxBatchSize, std::string(kMaxAnswerSize, '\0'))
{
}

LoadResult CLoadGenerator::Run()
{
    // 1 ns. The default lets the kernel prolong each wait by 50 us, but at 100,000 messages a
    // second, one is due every 10 us.
    ThrowOnError(prctl(PR_SET_TIMERSLACK, 1), "prctl");
    start = steady_clock::now();
    for (;;) {
        const Time now = steady_clock::now();
        ForgetSettled(now);
        if (IsSending(now))
            Send(DueCount(now), now);
        else if (questions.empty())
            return result;
        // Without a rate, never sleeps: to wake this process with each answer would cost the server
        // measurable time.
        if (load.rate > 0)
            Wait(NextDueTime(now));
        Receive();
    }
}

/// Returns how many messages are to be sent now, at most kMaxBatchSize.
std::uint64_t CLoadGenerator::DueCount(Time now) const
{
    std::uint64_t due = load.inFlight - open;
    if (load.rate > 0) {
        const std::chrono::duration<double> elapsed = now - start;
        const auto total = static_cast<std::uint64_t>(elapsed.count() * load.rate) + 1;
        due = total - std::min(total, result.sent);
    }
    return std::min({due, load.maxCount - result.sent, std::uint64_t{kMaxBatchSize}});
}

/// Returns when a wait for answers has to end: when the next message is due, the oldest question
/// has waited for kAnswerBound or the sending ends, at most kAnswerBound from now. Call it only
/// with a rate.
CLoadGenerator::Time CLoadGenerator::NextDueTime(Time now) const
{
    Time next = now + kAnswerBound;
    if (!questions.empty())
        next = std::min(next, questions.front().sentAt + kAnswerBound);
    if (!IsSending(now))
        return next;
    const std::chrono::duration<double> due(static_cast<double>(result.sent) / load.rate);
    next = std::min(next, start + duration_cast<nanoseconds>(due));
    return std::min(next, start + load.maxTime);
}

void CLoadGenerator::Send(std::uint64_t count, Time now)
{
    if (count == 0)
        return;
    for (std::uint64_t index = 0; index < count; ++index)
        messages.Write(result.sent + index, outgoing[index]);
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_port = htons(kDiscoveryPort);
    destination.sin_addr.s_addr = htonl(load.destination.to_uint());
    CBatch batch(outgoing, destination);
    for (std::uint64_t done = 0; done < count;) {
        done += static_cast<std::uint64_t>(
            ThrowOnError(sendmmsg(socket.native_handle(), batch.headers + done,
                                  static_cast<unsigned>(count - done), 0),
                         "sendmmsg"));
    }
    result.sent += count;
    result.elapsed = now - start;
    if (load.answered) {
        questions.insert(questions.end(), count, Question{now, false, {}});
        open += count;
    }
}

void CLoadGenerator::Wait(Time until)
{
    pollfd readable{load.answered ? socket.native_handle() : -1, POLLIN, 0};
    const auto wait =
        std::max(duration_cast<nanoseconds>(until - steady_clock::now()), nanoseconds::zero());
    const timespec bound{wait / std::chrono::seconds(1), (wait % std::chrono::seconds(1)).count()};
    ThrowOnError(ppoll(&readable, 1, &bound, nullptr), "ppoll");
}

void CLoadGenerator::Receive()
{
    if (!load.answered)
        return;
    CBatch batch(incoming, {});
    const int count =
        recvmmsg(socket.native_handle(), batch.headers, kMaxBatchSize, MSG_DONTWAIT, nullptr);
    if (count < 0 && errno == EAGAIN)
        return;
    ThrowOnError(count, "recvmmsg");
    const Time now = steady_clock::now();
    for (std::size_t index = 0; index < static_cast<std::size_t>(count); ++index) {
        OnAnswer({incoming[index].data(), batch.headers[index].msg_len},
                 ntohl(batch.peers[index].sin_addr.s_addr), now);
    }
}

void CLoadGenerator::OnAnswer(std::string_view answer, std::uint32_t source, Time now)
{
    ++result.received;
    const auto number = messages.NumberIn(answer);
    if (!number || *number < firstNumber || *number - firstNumber >= questions.size())
        return;
    Question& question = questions[*number - firstNumber];
    if (load.record)
        question.answeredBy += " " + boost::asio::ip::address_v4(source).to_string();
    if (question.answered)
        return;
    question.answered = true;
    --open;
    ++result.answered;
    result.roundTrips.push_back(
        static_cast<std::uint32_t>(duration_cast<nanoseconds>(now - question.sentAt).count()));
    result.elapsed = now - start;
}

/// Removes the oldest questions that are answered or lost, and writes the record if there is one.
/// With a record, each question stays for the whole of kAnswerBound, because several devices may
/// answer.
void CLoadGenerator::ForgetSettled(Time now)
{
    while (!questions.empty() && ((questions.front().answered && !load.record) ||
                                  questions.front().sentAt + kAnswerBound <= now)) {
        if (!questions.front().answered) {
            --open;
            ++result.lost;
        }
        if (load.record)
            Record(questions.front(), now);
        questions.pop_front();
        ++firstNumber;
    }
}

void CLoadGenerator::Record(const Question& question, Time now)
{
    using std::chrono::system_clock;
    const auto sentAt =
        system_clock::now() - duration_cast<system_clock::duration>(now - question.sentAt);
    *load.record << TimeText(sentAt, localtime_r, "%H:%M:%S") << question.answeredBy << '\n'
                 << std::flush;
}

} // namespace kx::tools
