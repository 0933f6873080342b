#pragma once

#include "numbered_messages.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <cstdint>
#include <deque>
#include <iosfwd>
#include <string>
#include <vector>

namespace kx::tools {

/// The messages to send, their number and rate.
struct Load {
    boost::asio::ip::address_v4 destination;
    /// Own address to send from; 0.0.0.0 leaves the choice to the kernel.
    boost::asio::ip::address_v4 from;
    std::vector<std::string> templates; ///< sent in turn, see CNumberedMessages
    bool answered = true;               ///< whether to wait for answers
    std::uint64_t inFlight = 1;         ///< without a rate: how many messages wait for an answer
    double rate = 0;                    ///< messages per second; 0: see inFlight
    std::uint64_t maxCount = 0;         ///< 0 sends none
    std::chrono::steady_clock::duration maxTime{}; ///< maximum time of sending
    /// If `answered`: receives a line for each message a second after it was sent, with the local
    /// time of sending and the addresses that answered, "HH:MM:SS.mmm[ ADDRESS]...". May be null;
    /// outlives the run.
    std::ostream* record = nullptr;
};

struct LoadResult {
    std::uint64_t sent = 0;
    std::uint64_t answered = 0; ///< messages with at least one answer within a second
    std::uint64_t lost = 0;     ///< not answered within a second
    std::uint64_t received = 0; ///< datagrams, including those that answer no message
    /// From the start until the last message was sent or the last answer came, whichever was later.
    /// Only the first answer to each message counts.
    std::chrono::duration<double> elapsed{};
    /// For each answered message, the time until its first answer, in nanoseconds; unordered.
    std::vector<std::uint32_t> roundTrips;
};

/// Sends messages and waits for the answers. With a rate (an open loop), sends at equal intervals,
/// answered or not. Without one (a closed loop), sends the next message when one is answered or
/// lost, and keeps a processor core busy. Not thread-safe.
class CLoadGenerator {
public:
    /// Errors: boost::system::system_error when the socket cannot be created.
    explicit CLoadGenerator(const Load& load);

    /// Sends the messages. Returns when all are answered or lost; with a record, a second after the
    /// last was sent; if no answers are wanted, when all are sent. May be called once.
    ///
    /// Errors: std::system_error when sending, waiting or receiving fails.
    LoadResult Run();

private:
    using Time = std::chrono::steady_clock::time_point;
    /// A message that was sent and may still be answered.
    struct Question {
        Time sentAt;
        bool answered;
        std::string answeredBy; ///< " ADDRESS" for each answer; only if there is a record
    };

    bool IsSending(Time now) const
    {
        return now < start + load.maxTime && result.sent < load.maxCount;
    }
    std::uint64_t DueCount(Time now) const;
    Time NextDueTime(Time now) const;
    void Send(std::uint64_t count, Time now);
    void Wait(Time until);
    void Receive();
    void OnAnswer(std::string_view answer, std::uint32_t source, Time now);
    void ForgetSettled(Time now);
    void Record(const Question& question, Time now);

    const Load load;
    const CNumberedMessages messages;
    boost::asio::io_context ioService;
    boost::asio::ip::udp::socket socket;
    std::vector<std::string> outgoing; ///< the messages of one sendmmsg(2)
    std::vector<std::string> incoming; ///< the buffers of one recvmmsg(2)
    /// In the order of the messages' numbers; the first has the number `firstNumber`.
    std::deque<Question> questions;
    std::uint64_t firstNumber = 0;
    std::uint64_t open = 0; ///< how many of the questions are not answered
    Time start;
    LoadResult result;
};

} // namespace kx::tools
