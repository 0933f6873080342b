#pragma once

#include "numbered_message.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/udp.hpp>

#include <chrono>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace kx::tools {

/// What is sent, and how much of it.
struct Load {
    boost::asio::ip::address_v4 destination;
    /// Own address to send from; the unspecified one leaves the choice to the kernel.
    boost::asio::ip::address_v4 from;
    int sources = 1;            ///< ports to send from, in turn
    std::string form;           ///< see CNumberedMessage
    bool answered = true;       ///< whether answers are waited for
    std::uint64_t inFlight = 1; ///< answers waited for at a time, when there is no rate
    double rate = 0;            ///< messages per second; 0: as many as there are answers
    std::uint64_t count = 0;    ///< messages at most
    std::chrono::steady_clock::duration time{}; ///< time to send at most
};

/// What came of it.
struct LoadResult {
    std::uint64_t sent = 0;
    std::uint64_t answered = 0;
    std::uint64_t lost = 0; ///< not answered within a second
    /// From the first message to the last, or to the last answer.
    std::chrono::duration<double> elapsed{};
    /// Of each answer, from its sending, in nanoseconds. In no order.
    std::vector<std::uint32_t> roundTrips;
};

/// Sends messages and waits for the answers, at a rate (an open loop) or as answers come (a closed
/// loop, which keeps a core busy).
///
/// Threads: one.
class CLoadGenerator {
public:
    /// Errors: boost::system::system_error when a socket cannot be made.
    explicit CLoadGenerator(const Load& load);

    /// Runs once. Returns when everything was sent and each message answered or lost.
    ///
    /// Errors: std::system_error when sending, waiting or receiving fails.
    LoadResult Run();

private:
    using Time = std::chrono::steady_clock::time_point;
    struct Awaited {
        Time sentAt;
        bool answered;
    };

    bool Sending(Time now) const { return now < start + load.time && result.sent < load.count; }
    std::uint64_t Due(Time now) const;
    Time NextTurn(Time now) const;
    void Send(std::uint64_t due, Time now);
    void Wait(Time until);
    void Receive();
    void TakeAnswer(std::string_view answer, Time now);
    void Expire(Time now);

    const Load load;
    const CNumberedMessage message;
    boost::asio::io_context ioService;
    std::vector<boost::asio::ip::udp::socket> sockets;
    std::vector<std::string> outgoing; ///< as many as go in one call
    std::vector<std::string> incoming;
    /// Messages that may yet be answered, in the order of their numbers, and the first one's
    /// number.
    std::deque<Awaited> awaited;
    std::uint64_t firstAwaited = 0;
    std::uint64_t open = 0; ///< those of them that are not answered
    Time start;
    LoadResult result;
};

} // namespace kx::tools
