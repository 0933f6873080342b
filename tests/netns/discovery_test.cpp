#include "discovery.h"

#include <atomic>
#include <regex>

namespace {

std::string Text(const std::string& message, const std::string& element)
{
    std::smatch match;
    std::regex_search(message, match, std::regex("<" + element + ">([^<]*)</" + element + ">"));
    return match[1];
}

TEST_F(Discovery, AnnouncesAnswersAndWithdrawsOnEveryAdapter)
{
    const std::ptrdiff_t descriptors = Entries("/proc/self/fd");
    network.AsProber([] { Network::Drop("input", "ip daddr 239.255.255.250 ip ttl != 32"); });
    Send({"0.0.0.0 cam9 m", kCam0, kCam1}, "80");
    const auto hello = group->Receive(2s);
    const auto hello1 = group1->Receive(2s);
    ASSERT_TRUE(hello && hello1);
    EXPECT_EQ(hello->source, "10.7.0.1:3702");
    EXPECT_EQ(Text(hello->text, "wsd:XAddrs"), "ktzkx://10.7.0.1:80");
    EXPECT_EQ(Text(hello->text, "wsd:Scopes"), "mac:02:00:00:00:07:01");
    EXPECT_EQ(Text(hello1->text, "wsd:XAddrs"), "ktzkx://10.8.0.1:80");
    const std::string address = Text(hello->text, "wsa:Address");
    EXPECT_EQ(address.size(), 36U);
    EXPECT_EQ(Text(hello1->text, "wsa:Address"), address) << "one address for all adapters";

    prober->Send(Probe("urn:uuid:other", "ktz:Other"));
    for (const std::string id : {"urn:uuid:1", "urn:uuid:1"}) { // a repeated Probe is answered too
        prober->Send(Probe(id));
        const auto answer = prober->Receive(2s);
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->source, "10.7.0.1:3702");
        EXPECT_EQ(Text(answer->text, "wsa:RelatesTo"), "uuid:urn:uuid:1");
        EXPECT_EQ(Text(answer->text, "wsa:Address"), address);
        EXPECT_EQ(Text(answer->text, "wsd:XAddrs"), "ktzkx://10.7.0.1:80");
    }
    // The plug-in reads at most 4096 bytes of a datagram.
    const std::string probe = Probe("urn:uuid:2");
    prober1->Send(std::string(4096 - probe.size(), '\n') + probe, "10.8.0.1");
    const auto answer1 = prober1->Receive(2s);
    ASSERT_TRUE(answer1);
    EXPECT_EQ(answer1->source, "10.8.0.1:3702");
    prober1->Send(std::string(4097 - probe.size(), '\n') + probe, "10.8.0.1");
    prober1->Send("", "10.8.0.1");
    EXPECT_FALSE(prober1->Receive(200ms));
    EXPECT_FALSE(prober->Receive(3s)) << "more answers than Probes";
    EXPECT_EQ(Count("Multicast activity timer expired"), 0U) << "its own Hello is heard";

    host.Stop();
    const auto bye = group->ReceiveAll("<wsd:Bye>", 200ms);
    ASSERT_EQ(bye.size(), 1U);
    EXPECT_EQ(Text(bye[0].text, "wsa:Address"), address);
    EXPECT_EQ(group1->ReceiveAll("<wsd:Bye>", 200ms).size(), 1U);

    const std::string asker = prober->Name();
    EXPECT_EQ(LogOf("10.7.0."),
              (Lines{"25 Restarting discovery on interface 10.7.0.1",
                     "25 Joined multicast group 239.255.255.250 on 10.7.0.1",
                     "25 Probe urn:uuid:1 for ktz:NetworkVideoRecorder from " + asker,
                     "25 Send ProbeMatch to " + asker,
                     "25 Probe urn:uuid:1 for ktz:NetworkVideoRecorder from " + asker,
                     "25 Send ProbeMatch to " + asker,
                     "25 Stopping all socket and timer operations on 10.7.0.1:3702"}));
    EXPECT_EQ(Count("Sending Hello to 239.255.255.250:3702"), 2U);
    EXPECT_EQ(Count("Sending Bye to 239.255.255.250:3702"), 2U);
    EXPECT_EQ(Count("level=\"50\"") + Count("level=\"75\""), 0U);
    EXPECT_EQ(Entries("/proc/self/fd"), descriptors);

    host.Call("Unload");
    host.Load();
    host.Run();
    Send({kCam0});
    const auto again = group->Receive(2s);
    ASSERT_TRUE(again);
    EXPECT_NE(Text(again->text, "wsa:Address"), address) << "a new run, a new address";
}

TEST_F(Discovery, WatchdogRejoinsTwiceAfterARestartThatHearsNothing)
{
    Send({kCam0});
    ASSERT_TRUE(group->Receive(2s));
    prober->Send(Probe("urn:uuid:1"));
    ASSERT_TRUE(prober->Receive(2s)) << "activity before the restart";
    Network::Drop("output", "udp sport 3702");
    prober->Send(Probe("urn:uuid:2"));
    ASSERT_TRUE(host.WaitFor("Retrying on interface 10.7.0.1"));
    Network::Run("nft flush ruleset");
    Network::Drop("input", "iifname cam0 udp dport 3702");
    ASSERT_TRUE(host.WaitFor("Sending Hello", 2));
    const auto start = host.Times("Sending Hello")[1];
    EXPECT_EQ(group->ReceiveAll("<wsd:Hello>", 10500ms).size(), 3U);
    const auto expiries =
        host.Times("Multicast activity timer expired for 10.7.0.1. Re-join multicast group");
    ASSERT_EQ(expiries.size(), 2U);
    EXPECT_NEAR(std::chrono::duration<double>(expiries[0] - start).count(), 3, 0.5);
    EXPECT_NEAR(std::chrono::duration<double>(expiries[1] - expiries[0]).count(), 3, 0.5);
    EXPECT_EQ(Count("Failed to join"), 0U);
}

TEST_F(Discovery, ForeignProbeKeepsTheWatchdogQuietButAByeDoesNot)
{
    // The endpoints must not receive their own Hellos.
    Network::Drop("input", "ip saddr { 10.7.0.1, 10.8.0.1 }");
    // cam1 is first: its watchdog, if not kept quiet, would expire before that of cam0.
    Send({kCam1, kCam0});
    ASSERT_TRUE(group->Receive(2s) && group1->Receive(2s));
    std::string other = Probe("urn:uuid:1", "x:Other");
    prober1->Send(other);
    prober->Send(other.replace(other.find("discovery/Probe"), 15, "discovery/Bye"));
    EXPECT_TRUE(host.WaitFor("timer expired for 10.7.0.1", 1, 4s));
    EXPECT_EQ(Count("timer expired for 10.8.0.1"), 0U);
}

TEST_F(Discovery, EveryChangeRestartsAllAndNothingElseDoes)
{
    struct Case {
        const char* what;
        Lines adapters;
        const char* port;
        std::size_t hellos; ///< sent because of the document, on both adapters together
    };
    const std::string stopping = "Stopping discovery operations on all interfaces";
    const Case cases[] = {
        {"first", {kCam0, kCam1}, "80", 2},
        {"same", {kCam0, kCam1}, "80", 0},
        {"port", {kCam0, kCam1}, "81", 2},
        {"no port", {kCam0, kCam1}, "", 0},
        {"order", {kCam1, kCam0}, "81", 2},
        {"mac", {kCam1, "10.7.0.1 cam0 m"}, "81", 2},
        {"handle", {kCam1, "10.7.0.1 cam1 m"}, "81", 2},
        {"address", {kCam1, "10.8.0.1 cam1 m"}, "81", 2},
        {"one less", {kCam0}, "81", 1},
        {"none", {}, "81", 0},
        {"address of no use", {"10.7.0 cam0 m", kCam1}, "81", 0},
        {"back again", {kCam1}, "70000", 1},
    };
    std::size_t hellos = 0;
    for (const Case& each : cases) {
        const bool restarts =
            std::string(each.what) != "same" && std::string(each.what) != "no port";
        const std::size_t stops = Count(stopping) + (restarts ? 1 : 0);
        hellos += each.hellos;
        Send(each.adapters, each.port);
        EXPECT_TRUE(host.WaitFor(stopping, stops)) << each.what;
        EXPECT_TRUE(host.WaitFor("Sending Hello", hellos)) << each.what;
        std::this_thread::sleep_for(100ms);
        EXPECT_EQ(Count(stopping), stops) << each.what;
        EXPECT_EQ(Count("Sending Hello"), hellos) << each.what;
    }
    EXPECT_EQ(Count("Discovery encountered error (system:22): "), 1U);
    const auto heard = group1->ReceiveAll("<wsd:Hello>", 100ms);
    ASSERT_FALSE(heard.empty());
    EXPECT_EQ(Text(heard.back().text, "wsd:XAddrs"), "ktzkx://10.8.0.1:70000");
}

// The host's callback blocks the I/O thread for 1.5 s. A stop abandons a Bye after 0.49 s.
TEST_F(Discovery, StopWhileTheHostHoldsTheIoThreadGivesUpTheBye)
{
    std::atomic<bool> holding{false};
    host.onRecord = [&](const std::string& record) {
        if (record.find("Probe urn:uuid:1") == std::string::npos)
            return;
        holding = true;
        std::this_thread::sleep_for(1500ms);
        holding = false;
    };
    Send({kCam0});
    ASSERT_TRUE(group->Receive(2s));
    prober->Send(Probe("urn:uuid:1"));
    while (!holding)
        std::this_thread::sleep_for(1ms);
    host.Stop();
    EXPECT_FALSE(holding) << "returned while a handler was still running";
    EXPECT_EQ(Count("Sending Bye"), 1U);
    EXPECT_TRUE(group->ReceiveAll("<wsd:Bye>", 200ms).empty());
}

// In each record about the start of the second endpoint, the host's callback blocks the manager's
// thread until the first endpoint has answered a Probe.
TEST_F(Discovery, EndpointAnswersWhileTheStartOfAnotherIsHeld)
{
    std::atomic<int> hellos{0};
    host.onRecord = [&](const std::string& record) {
        hellos += record.find("Sending Hello") != record.npos ? 1 : 0;
        if (record.find("interface 10.8.0.1") == record.npos &&
            record.find("250 on 10.8.0.1") == record.npos &&
            (hellos < 2 || record.find("Sending Hello") == record.npos))
            return;
        prober->Send(Probe("urn:uuid:1"));
        EXPECT_TRUE(prober->Receive(2s)) << record;
    };
    Send({kCam0, kCam1});
    EXPECT_TRUE(host.WaitFor("Send ProbeMatch", 3));
    EXPECT_TRUE(host.WaitFor("Sending Hello", 2));
    host.Stop();
}

// The host's callback blocks the manager's thread before it tears down the endpoints. Meanwhile the
// I/O thread sends both Byes, and the second endpoint's socket stays open.
TEST_F(Discovery, NothingIsSentAfterTheBye)
{
    host.onRecord = [](const std::string& record) {
        if (record.find("Stopping all socket and timer operations on 10.7.0.1") !=
            std::string::npos)
            std::this_thread::sleep_for(500ms);
    };
    Send({kCam0, kCam1});
    ASSERT_TRUE(group->Receive(2s) && group1->Receive(2s));
    std::thread stopper([this] { host.Stop(); });
    EXPECT_EQ(group1->ReceiveAll("<wsd:Bye>", 200ms).size(), 1U);
    prober1->Send(Probe("urn:uuid:1"));
    EXPECT_FALSE(prober1->Receive(200ms));
    stopper.join();
    EXPECT_EQ(Count("level=\"75\""), 0U) << "the cancelled receive was taken for a failure";
}

// cam0 sends only 64 bits a second, so the answers fill the socket's send buffer, and the Bye
// blocks. The buffer is full when a Probe is not answered: the plug-in reads none while an answer
// is blocked.
TEST_F(Discovery, StopWhileTheByeIsBlockedIsBounded)
{
    Send({kCam1, kCam0});
    ASSERT_TRUE(group->Receive(2s));
    Network::Run("tc qdisc add dev cam0 root tbf rate 64bit burst 2000 limit 100000000");
    std::size_t answers = 0;
    do
        prober->Send(Probe("urn:uuid:1"));
    while (host.WaitFor("Send ProbeMatch", ++answers, 1s));
    EXPECT_GT(answers, 50U) << "the send buffer is not full";
    const auto start = steady_clock::now();
    host.Stop();
    const auto taken = steady_clock::now() - start;
    EXPECT_GT(taken, 400ms) << "the Bye was not blocked";
    EXPECT_LT(taken, 900ms);
    EXPECT_EQ(Count("Sending Bye"), 2U);
}

} // namespace
