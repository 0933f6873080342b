#include "discovery_manager.h"
#include "discovery_udp.h"
#include "recording_log.h"

#include <boost/asio/error.hpp>
#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/socket.h>

// The linker sends the endpoint's calls here (--wrap), so that a test can make one of them fail.
extern "C" {
int __real_socket(int domain, int type, int protocol);
int __real_setsockopt(int descriptor, int level, int name, const void* value, socklen_t size);
int __wrap_socket(int domain, int type, int protocol);
int __wrap_setsockopt(int descriptor, int level, int name, const void* value, socklen_t size);
}

namespace {

constexpr int kSocketItself = -1;
struct {
    int level = 0;
    int name = 0; ///< 0: nothing fails
    int error = 0;
} failing;
std::string boundDevice;

} // namespace

int __wrap_socket(int domain, int type, int protocol)
{
    errno = failing.error;
    return failing.name == kSocketItself ? -1 : __real_socket(domain, type, protocol);
}

int __wrap_setsockopt(int descriptor, int level, int name, const void* value, socklen_t size)
{
    if (level == SOL_SOCKET && name == SO_BINDTODEVICE) {
        EXPECT_EQ(size, 40U);
        boundDevice = static_cast<const ifreq*>(value)->ifr_name;
    }
    errno = failing.error;
    return failing.name == name && failing.level == level
               ? -1
               : __real_setsockopt(descriptor, level, name, value, size);
}

using boost::system::error_code;
using Lines = std::vector<std::string>;

namespace kx {

/// Opens the endpoint's handlers and state to the tests below.
struct DiscoveryUdpPeer {
    static void OnRetryTimer(CDiscoveryUdp& endpoint, const error_code& error)
    {
        ++endpoint.pendingOps; // the handler uncounts an operation that was not started here
        endpoint.OnRetryTimer(error);
    }
    static void OnReceive(CDiscoveryUdp& endpoint, const error_code& error)
    {
        ++endpoint.pendingOps;
        ++endpoint.pendingReceives;
        endpoint.OnReceive(error, 0);
    }
    static void OnSendComplete(CDiscoveryUdp& endpoint, const error_code& error)
    {
        ++endpoint.pendingOps;
        endpoint.closing = false;
        endpoint.OnSendComplete(boost::make_shared<std::string>("text"), error);
    }
    static std::chrono::seconds RetryDelay(const CDiscoveryUdp& endpoint)
    {
        return std::chrono::seconds(endpoint.retryDelaySeconds);
    }
    static std::int32_t SendRetryCount(const CDiscoveryUdp& endpoint)
    {
        return endpoint.sendRetryCount;
    }
};

} // namespace kx

namespace {

using kx::DiscoveryUdpPeer;

const error_code kFailed(5, boost::system::generic_category());

/// An endpoint whose handlers the test calls itself; nothing runs its I/O service by itself, and
/// its socket is closed.
class Endpoint : public testing::Test {
protected:
    Endpoint() { endpoint.log = &log; }

    Lines TakeLines()
    {
        Lines taken;
        taken.swap(log.lines);
        return taken;
    }

    /// Runs the handlers that are ready.
    void RunReady()
    {
        service.restart();
        service.poll();
    }

    RecordingLog log;
    boost::asio::io_context service;
    kx::CDiscoveryUdp endpoint{
        service, {"127.0.0.1", "l%%o", "m", ""}, {}, 1, kx::kMulticastGroup, kx::kDiscoveryPort};
    const std::string restarting = "25 Restarting discovery on interface 127.0.0.1";
    const Lines backOff{"25 Retrying on interface 127.0.0.1",
                        "25 Stopping all socket and timer operations on 127.0.0.1:3702"};
};

TEST_F(Endpoint, RetryDelayDoublesUpTo384)
{
    const int delays[] = {6, 12, 24, 48, 96, 192, 384, 384};
    for (const int delay : delays) {
        DiscoveryUdpPeer::OnRetryTimer(endpoint, kFailed);
        EXPECT_EQ(DiscoveryUdpPeer::RetryDelay(endpoint), std::chrono::seconds(delay));
        EXPECT_EQ(TakeLines(), backOff);
    }
}

TEST_F(Endpoint, CancelledRetryDoesNothing)
{
    const error_code cancelled[] = {boost::asio::error::operation_aborted,
                                    error_code(1236, boost::system::generic_category()),
                                    error_code(1236, boost::asio::error::get_misc_category())};
    for (const error_code& each : cancelled)
        DiscoveryUdpPeer::OnRetryTimer(endpoint, each);
    EXPECT_EQ(TakeLines(), Lines{});
    EXPECT_EQ(DiscoveryUdpPeer::RetryDelay(endpoint), std::chrono::seconds(3));
    EXPECT_FALSE(endpoint.Busy());
}

TEST_F(Endpoint, TooLargeIsIgnoredAndAnErrorRestartsOnce)
{
    DiscoveryUdpPeer::OnReceive(endpoint, error_code(234, boost::asio::error::get_misc_category()));
    EXPECT_EQ(TakeLines(),
              Lines{"25 Buffer is too small for the message from 0.0.0.0:0. Ignoring message"});
    DiscoveryUdpPeer::OnReceive(endpoint, kFailed);
    EXPECT_EQ(TakeLines(),
              (Lines{"75 Receive Error: Input/output error (5)", backOff[0], backOff[1]}));
    DiscoveryUdpPeer::OnReceive(endpoint, kFailed);
    EXPECT_EQ(TakeLines(), Lines{}) << "the endpoint is closing";
}

TEST_F(Endpoint, SendCompletionAfterClosingIsSilent)
{
    endpoint.StopOperations(false);
    TakeLines();
    RunReady();
    EXPECT_FALSE(endpoint.Busy());
    EXPECT_EQ(TakeLines(), Lines{});
    // On a closed socket a failed send restarts the endpoint at once, before its retry line.
    DiscoveryUdpPeer::OnSendComplete(endpoint, kFailed);
    EXPECT_EQ(TakeLines(),
              (Lines{"75 Send Error: Input/output error(5), sending to 0.0.0.0:0", backOff[0],
                     backOff[1], "25 Retrying send to destination: 0.0.0.0"}));
    EXPECT_EQ(DiscoveryUdpPeer::SendRetryCount(endpoint), 1);
    RunReady(); // the resend and the resumed receive find the socket closed
    EXPECT_EQ(TakeLines(), Lines{});
    DiscoveryUdpPeer::OnSendComplete(endpoint, {});
    EXPECT_EQ(DiscoveryUdpPeer::SendRetryCount(endpoint), 0);
}

TEST_F(Endpoint, DeviceNameIsAFormatAndItsFailureBacksOff)
{
    endpoint.Restart();
    EXPECT_EQ(boundDevice, "l%o");
    EXPECT_EQ(TakeLines(),
              (Lines{restarting, "75 Error binding to socket using SO_BINDTODEVICE: 19", backOff[0],
                     backOff[1]}));
    EXPECT_TRUE(endpoint.Busy()) << "the retry waits";
}

// Without a codec an endpoint listens and says nothing, so this touches loopback alone.
TEST_F(Endpoint, EachFailingStepIsReportedAndBacksOffOrGoesOn)
{
    const std::string joined = "25 Joined multicast group 239.255.255.250 on 127.0.0.1";
    const std::string denied = "system:13): Permission denied";
    struct Case {
        int level;
        int name;
        std::string line;
        bool essential;
    };
    const Case cases[] = {
        {0, 0, "", false},
        {0, kSocketItself,
         "75 Failed to open listening socket on 127.0.0.1. Error: Permission denied (system:13)",
         true},
        {SOL_SOCKET, SO_REUSEADDR,
         "75 Failed to set socket option SO_REUSEADDR. Error: Permission denied", true},
        {IPPROTO_IP, IP_MULTICAST_TTL, "50 Failed to set IP_MULTICAST_TTL=32. Error (" + denied,
         false},
        {SOL_SOCKET, SO_RCVBUF, "50 Failed to set SO_RCVBUF=1MB. Error (" + denied, false},
        {IPPROTO_IP, IP_ADD_MEMBERSHIP, "75 Failed to set IP_ADD_MEMBERSHIP. Error (" + denied,
         true},
    };
    for (const Case& each : cases) {
        kx::CDiscoveryUdp loopback(service, {"127.0.0.1", "lo", "m", ""}, {}, 1,
                                   kx::kMulticastGroup, kx::kDiscoveryPort);
        loopback.log = &log;
        failing = {each.level, each.name, EACCES};
        loopback.Restart();
        failing = {};
        Lines expected{restarting};
        if (!each.line.empty())
            expected.push_back(each.line);
        if (each.essential)
            expected.insert(expected.end(), backOff.begin(), backOff.end());
        else
            expected.push_back(joined);
        EXPECT_EQ(TakeLines(), expected);
        loopback.StopOperations(false);
        RunReady();
        EXPECT_FALSE(loopback.Busy());
        TakeLines();
    }
}

TEST_F(Endpoint, StopDuringBackOffEndsTheWait)
{
    endpoint.Restart();
    TakeLines();
    endpoint.StopOperations(true); // nobody runs the service: the bound runs out
    EXPECT_EQ(TakeLines(), Lines{backOff[1]});
    RunReady();
    EXPECT_FALSE(endpoint.Busy());
    EXPECT_EQ(TakeLines(), Lines{});
}

TEST(Manager, StopsAtAnAdapterWhoseAddressIsNoAddress)
{
    RecordingLog log;
    kx::CDiscoveryManager manager;
    manager.log = &log;
    // Without a codec's types and with devices that do not exist nothing reaches a network.
    manager.Start(1, {{"0.0.0.0", "lo", "m", "x"},
                      {"10.0.0.300", "lo", "m", "x"},
                      {"127.0.0.1", "lo", "m", "x"}});
    ASSERT_EQ(log.lines.size(), 1U);
    // Later editions of the library append the code to the exception's text.
    EXPECT_EQ(log.lines[0].rfind("75 Discovery encountered error (system:22): Invalid argument", 0),
              0U)
        << log.lines[0];
}

} // namespace
