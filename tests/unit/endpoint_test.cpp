#include "discovery_group.h"
#include "discovery_manager.h"
#include "discovery_udp.h"
#include "recording_log.h"

#include <boost/asio/error.hpp>
#include <boost/make_shared.hpp>
#include <boost/system/system_error.hpp>
#include <boost/thread/exceptions.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <future>
#include <mutex>
#include <pthread.h>

using boost::system::error_code;
using Lines = std::vector<std::string>;

namespace kx {

/// Calls handlers of the endpoint and shows its state. A handler decrements pendingOps, and
/// OnReceive also pendingReceives. So these counts are set before each call of a handler, as if the
/// operation had been started.
struct DiscoveryUdpPeer {
    explicit DiscoveryUdpPeer(CDiscoveryUdp& peer) : endpoint(peer) {}

    void OnRetryTimer(const error_code& error)
    {
        ++endpoint.pendingOps;
        endpoint.OnRetryTimer(error);
    }
    /// Passes a datagram to OnReceive. Returns whether the endpoint counted it as activity and did
    /// not answer it. Without an answer, OnReceive starts the next receive, so one is pending.
    bool OnIgnored(const std::string& text, const boost::asio::ip::udp::endpoint& source)
    {
        endpoint.activitySeen = false;
        endpoint.senderEndpoint = source;
        std::copy(text.begin(), text.end(), endpoint.receiveBuffer.begin());
        ++endpoint.pendingOps;
        endpoint.pendingReceives = 1;
        endpoint.OnReceive({}, text.size());
        return endpoint.activitySeen && endpoint.pendingReceives == 1;
    }
    void OnSendComplete(const error_code& error)
    {
        ++endpoint.pendingOps;
        endpoint.closing = false;
        endpoint.OnSendComplete(boost::make_shared<std::string>("text"), error);
    }
    std::int32_t PendingOps() const { return endpoint.pendingOps; }
    std::uint16_t LocalPort() const { return endpoint.socket.local_endpoint().port(); }
    std::int32_t RetryDelay() const { return endpoint.retryDelaySeconds; }
    std::int32_t SendRetryCount() const { return endpoint.sendRetryCount; }

    CDiscoveryUdp& endpoint;
};

} // namespace kx

namespace {

int mutexError = 0;

} // namespace

// Calls of pthread_mutex_init go here (ld(1), --wrap) and fail with mutexError if that is not 0.
extern "C" int __real_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* how);
extern "C" int __wrap_pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t* how)
{
    return mutexError != 0 ? mutexError : __real_pthread_mutex_init(mutex, how);
}

namespace {

const error_code kFailed(5, boost::system::generic_category());

error_code Misc(int value)
{
    return {value, boost::asio::error::get_misc_category()};
}

const std::string kProbe = "<E><Header><Action>Probe</Action><MessageID>i</MessageID></Header>"
                           "<Body><Probe><Types>NetworkVideoRecorder</Types></Probe></Body></E>";

/// An endpoint on loopback with a closed socket.
class Endpoint : public testing::Test {
protected:
    Endpoint() { endpoint.log = &log; }

    Lines LinesSinceLastCall()
    {
        Lines taken;
        taken.swap(log.lines);
        return taken;
    }

    RecordingLog log;
    boost::asio::io_context service;
    kx::CDiscoveryUdp endpoint{service, {"127.0.0.1", "lo", "m", ""}, {},
                               1,       kx::kMulticastGroup,          kx::kDiscoveryPort};
    kx::DiscoveryUdpPeer peer{endpoint};
    const std::string retrying = "25 Retrying on interface 127.0.0.1";
    const std::string stopping = "25 Stopping all socket and timer operations on 127.0.0.1:3702";
};

TEST_F(Endpoint, RetryDelayDoublesUpTo384UnlessTheWaitWasCancelled)
{
    for (const error_code& each : {error_code(boost::asio::error::operation_aborted), Misc(1236),
                                   error_code(1236, boost::system::generic_category())})
        peer.OnRetryTimer(each);
    EXPECT_EQ(LinesSinceLastCall(), Lines{});
    EXPECT_FALSE(endpoint.Busy());
    for (const std::int32_t delay : {3, 6, 12, 24, 48, 96, 192, 384, 384}) {
        EXPECT_EQ(peer.RetryDelay(), delay);
        peer.OnRetryTimer(kFailed);
        EXPECT_EQ(LinesSinceLastCall(), (Lines{retrying, stopping}));
    }
}

TEST_F(Endpoint, ProbeThatCannotBeAnsweredCountsAsActivityAlone)
{
    kx::CDiscoverySoap soap;
    soap.types = {"NetworkVideoRecorder"};
    endpoint.soap = &soap;
    struct Case {
        const char* address;
        std::uint16_t port;
        bool answered;
    };
    const Case cases[] = {
        {"192.0.2.1", 0, false},      {"192.0.2.1", 1, true},        {"0.0.0.0", 9, false},
        {"0.255.255.255", 9, false},  {"1.0.0.0", 9, true},          {"223.255.255.255", 9, true},
        {"224.0.0.0", 9, false},      {"239.255.255.255", 9, false}, {"240.0.0.0", 9, true},
        {"255.255.255.254", 9, true}, {"255.255.255.255", 9, false},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(each.address);
        const bool ignored =
            peer.OnIgnored(kProbe, {boost::asio::ip::make_address_v4(each.address), each.port});
        EXPECT_NE(ignored, each.answered);
        EXPECT_EQ(LinesSinceLastCall().size(), each.answered ? 2U : 0U);
    }
}

TEST_F(Endpoint, WithoutMulticastItOnlySends)
{
    kx::CDiscoverySoap soap;
    soap.types = {"NetworkVideoRecorder"};
    kx::CDiscoveryUdp sender(service, {"127.0.0.1", "lo", "m", ""}, {}, 0, kx::kMulticastGroup,
                             kx::kDiscoveryPort);
    sender.log = &log;
    sender.soap = &soap;
    boost::asio::post(service, [&] { sender.Restart(); });
    service.run_one();
    EXPECT_EQ(LinesSinceLastCall(), (Lines{"25 Restarting discovery on interface 127.0.0.1",
                                           "25 Sending Hello to 239.255.255.250:3702"}));
    kx::DiscoveryUdpPeer senderPeer(sender);
    EXPECT_NE(senderPeer.LocalPort(), kx::kDiscoveryPort);
    EXPECT_EQ(senderPeer.PendingOps(), 2) << "more than a receive and a send";
    const boost::asio::ip::udp::endpoint source(boost::asio::ip::address_v4::loopback(), 9);
    EXPECT_FALSE(senderPeer.OnIgnored(kProbe, source)) << "counted as activity";
    EXPECT_EQ(LinesSinceLastCall(), Lines{});
}

TEST_F(Endpoint, SendFailingOnAClosedSocketRestartsBeforeItsRetry)
{
    peer.OnSendComplete(kFailed);
    EXPECT_EQ(LinesSinceLastCall(),
              (Lines{"75 Send Error: Input/output error(5), sending to 0.0.0.0:0", retrying,
                     stopping, "25 Retrying send to destination: 0.0.0.0"}));
    EXPECT_EQ(peer.SendRetryCount(), 1);
    // The handlers of the resend and of the receive find `closing` set and do nothing.
    service.poll();
    EXPECT_EQ(LinesSinceLastCall(), Lines{});
    peer.OnSendComplete({});
    EXPECT_EQ(peer.SendRetryCount(), 0);
}

TEST(Manager, IoServiceThatCannotBeMadeIsAThreadResourceError)
{
    mutexError = EAGAIN;
    try {
        kx::CDiscoveryManager manager;
        ADD_FAILURE();
    } catch (const boost::thread_resource_error& error) {
        EXPECT_EQ(error.native_error(), EAGAIN);
        EXPECT_NE(std::string(error.what()).find("mutex"), std::string::npos);
    }
    mutexError = 0;
}

/// Throws a system_error when SendBye, a handler on the I/O thread, logs.
struct ThrowingLog : RecordingLog {
    void Log(std::int32_t level, const std::string& text) override
    {
        const std::lock_guard<std::mutex> lock(mutex);
        RecordingLog::Log(level, text);
        if (text.find("Sending Bye") == 0)
            throw boost::system::system_error(kFailed);
    }

    std::mutex mutex;
};

TEST(Manager, SystemErrorOfAHandlerDoesNotEndTheThread)
{
    ThrowingLog log;
    kx::CDiscoveryManager manager;
    manager.log = &log;
    const auto thread = std::async(std::launch::async, [&] { manager.RunIoService(); });
    manager.Start(1, {{"127.0.0.1", "lo", "m", ""}});
    manager.Shutdown();
    thread.wait();
    EXPECT_EQ(std::count(log.lines.begin(), log.lines.end(),
                         "25 Exception on the io_service thread. Error: Input/output error"),
              1);
    EXPECT_EQ(log.lines.back(), "25 io service thread exiting");
}

TEST(Manager, ShutDownBeforeItsThreadStartsStillEndsTheThread)
{
    RecordingLog log;
    kx::CDiscoveryManager manager;
    manager.log = &log;
    manager.Shutdown();
    const auto thread = std::async(std::launch::async, [&] { manager.RunIoService(); });
    ASSERT_EQ(thread.wait_for(std::chrono::seconds(5)), std::future_status::ready);
    EXPECT_EQ(log.lines, (Lines{"25 Stopping discovery operations on all interfaces",
                                "25 io service thread exiting"}));
}

} // namespace
