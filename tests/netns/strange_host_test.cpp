#include "fake_host.h"
#include "network.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <locale>
#include <optional>
#include <pthread.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {

/// Stack size of the threads that the test and the plug-in create. pelorin/plugin.h promises that
/// 128 KiB are enough. The plug-in needs most for the most deeply nested message that tinyxml2
/// accepts.
#ifdef __SANITIZE_THREAD__ // ThreadSanitizer uses much of each stack itself
constexpr std::size_t kSmallStack = 4U << 20;
#else
constexpr std::size_t kSmallStack = 128U << 10;
#endif

struct Grouping : std::numpunct<char> {
    char do_thousands_sep() const override { return '#'; }
    std::string do_grouping() const override { return "\1"; }
};

std::atomic<int> interruptions{0};

std::string NestedProbe(int depth)
{
    std::string nested;
    while (depth-- > 0)
        nested = "<a>" + nested + "</a>";
    std::string probe = Probe("urn:uuid:1");
    return probe.insert(probe.find("</s:Body>"), nested);
}

class StrangeHost : public testing::Test {
protected:
    const Network network;
    FakeHost host;
};

TEST_F(StrangeHost, GroupsDigitsGivesSmallStacksAndInterrupts)
{
    std::optional<Socket> prober;
    network.AsProber([&] { prober.emplace("eye0", "10.7.0.2", std::uint16_t{3702}); });
    const auto group = [](const std::string&) {
        std::locale::global(std::locale(std::locale::classic(), new Grouping));
    };
    group("");
    host.onRecord = group; // sets the locale again while the plug-in runs
    pthread_attr_t small;
    pthread_attr_init(&small);
    pthread_attr_setstacksize(&small, kSmallStack);
    pthread_setattr_default_np(&small);
    struct sigaction action {};
    action.sa_handler = [](int) { ++interruptions; };
    sigaction(SIGALRM, &action, nullptr); // without SA_RESTART: system calls fail with EINTR
    host.Load();
    host.Run();
    sigset_t alarm;
    sigemptyset(&alarm);
    sigaddset(&alarm, SIGALRM);
    pthread_sigmask(SIG_BLOCK, &alarm,
                    nullptr); // on this thread only: the signal interrupts the plug-in's threads
    const itimerval often{{0, 500}, {0, 500}};
    setitimer(ITIMER_REAL, &often, nullptr);

    host.Apply(MakeTestDocument({"10.7.0.1 cam0 m", "none cam0 m"}, "22609"));
    std::string said;
    const auto hear = [&](const std::string& text) {
        auto datagram = prober->Receive(5s);
        while (datagram && datagram->text.find(text) == std::string::npos)
            datagram = prober->Receive(5s);
        ASSERT_TRUE(datagram) << "not heard: " << text;
        said += datagram->text;
    };
    hear("<wsd:Hello>");
    prober->Send(NestedProbe(400),
                 "10.7.0.1"); // nested deeper than some versions of tinyxml2 accept
    for (int probe = 0; probe < 300; ++probe) {
        prober->Send(NestedProbe(90), "10.7.0.1");
        hear("<wsd:ProbeMatches>");
    }
    host.Stop();
    hear("<wsd:Bye>");
    std::locale::global(std::locale::classic());
    for (const HostCall& each : host.Calls())
        said += each.data;
    EXPECT_NE(said.find("ktzkx://10.7.0.1:22609"), std::string::npos);
    EXPECT_NE(said.find("Discovery encountered error (system:22)"), std::string::npos);
    EXPECT_EQ(said.find('#'), std::string::npos) << said;
    EXPECT_GT(interruptions, 20);
}

// Not with AddressSanitizer: that build has UndefinedBehaviorSanitizer too, which needs free
// descriptors for pipes.
#ifndef __SANITIZE_ADDRESS__
TEST_F(StrangeHost, HasNoDescriptorsLeftAndThenManyTaken)
{
    host.Load();
    host.Run();
    host.Apply(MakeTestDocument({"10.7.0.1 cam9 m"}, "22609"));
    ASSERT_TRUE(host.WaitFor("Stopping all socket and timer operations on 10.7.0.1"));
    std::this_thread::sleep_for(100ms); // the plug-in closes the socket soon after this record
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = static_cast<rlim_t>(dup(STDIN_FILENO));
    close(static_cast<int>(limit.rlim_cur));
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_TRUE(host.WaitFor("Error: Too many open files (system:24)"));
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
    for (int taken = 0; taken >= 0 && taken < 2000;) // more than select(2) can watch
        taken = dup(STDIN_FILENO);
    Network::Run("ip link set cam0 down; ip link set cam0 name cam9; ip link set cam9 up");
    EXPECT_TRUE(host.WaitFor("Sending Hello", 1, 20s));
}
#endif

} // namespace
