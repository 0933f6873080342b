#include "data.h"
#include "discovery.h"

#include <atomic>
#include <fstream>
#include <optional>
#include <random>
#include <sstream>
#include <unistd.h>

namespace {

/// Bytes of the process in memory.
std::ptrdiff_t Resident()
{
    std::ptrdiff_t pages = 0;
    std::ifstream("/proc/self/statm").ignore(99, ' ') >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

// The lengths of the answers are figures of docs/operations.md.
TEST_F(Discovery, FloodsLeaveItAnsweringItsMemoryFlatAndItsLogShort)
{
    std::atomic<int> records{0}, answers{0};
    std::atomic<std::size_t> longest{0};
    host.onRecord = [&](const std::string& record) {
        ++records;
        answers += record.find("Send ProbeMatch") != record.npos ? 1 : 0;
        longest = std::max(longest.load(), record.size());
    };
    Send({kCam0});
    EXPECT_TRUE(group->Receive(2s));
    std::array<std::unique_ptr<Socket>, 50> sources;
    network.AsProber([&] {
        for (auto& each : sources)
            each = std::make_unique<Socket>("eye0", "10.7.0.2", 0);
    });
    for (const DataCase& each : ReadCases("floods.txt")) {
        SCOPED_TRACE(each.name);
        std::size_t size = 0, answerSize = 0;
        std::istringstream(each.expected) >> size >> answerSize;
        std::string whole = each.text;
        whole.resize(size, ' ');
        std::mt19937 random;
        const auto flood = [&](std::size_t datagrams) {
            records = answers = 0;
            for (std::size_t count = 0; count < datagrams; ++count) {
                std::string datagram = whole;
                if (count % 4 == 1)
                    datagram.resize(random() % size);
                else if (count % 4 == 2)
                    datagram[random() % size] = static_cast<char>(random());
                sources[count % sources.size()]->Send(datagram);
                if (count % 64 == 0)
                    host.Forget();
                if (count > 500) // the first come faster than they are read
                    std::this_thread::sleep_for(100us);
            }
        };
        flood(700);
        [[maybe_unused]] const auto before = Resident();
        flood(2000);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        EXPECT_LT(Resident() - before, 512 * 1024);
#endif
        EXPECT_NEAR(records, 2 * answers, 4) << "but for those that are just written";
        EXPECT_LT(longest, 2700U) << "bytes of a record";
        std::optional<Datagram> answer;
        for (int turn = 0; turn < 20 && !answer; ++turn) { // a sanitizer may still be at the flood
            prober->Send(answerSize > 0 ? whole : Probe("urn:uuid:1"));
            answer = prober->Receive(1s);
        }
        EXPECT_TRUE(answer) << "deaf";
        EXPECT_TRUE(answerSize == 0 || (answer && answer->text.size() == answerSize));
        while (prober->Receive(100ms)) {
        }
        EXPECT_LT(answerSize, 9 * size);
    }
    host.Stop();
}

// The rules that docs/operations.md prints.
TEST_F(Discovery, FirewallLetsClientsInAndNoFlood)
{
    const std::string text = ReadData("../../docs/operations.md");
    const std::string subnets = "10.0.0.0/24, 10.0.1.0/24";
    std::string rules = text.substr(text.find("table inet discovery {"));
    rules.resize(rules.find("```"));
    Network::Run("nft '" + rules.replace(rules.find(subnets), subnets.size(), "10.7.0.0/24") + "'");
    Send({kCam0});
    ASSERT_TRUE(group->Receive(2s)) << "no Hello";

    const struct {
        const char* header; ///< what the prober's side makes of it
        std::size_t probes, least, most;
    } cases[] = {
        {"counter", 1, 1, 1},
        {"udp sport set 0", 1, 0, 0},
        {"ip saddr set 10.7.0.255", 1, 0, 0},
        {"ip saddr set 192.0.2.1", 1, 0, 0},
        {"counter", 300, 15, 60},
        {"ip saddr set 10.7.0.9", 1, 1, 1},
        {"ip saddr set numgen inc mod 200 offset 168230922", 300, 50, 140},
    };
    for (const auto& each : cases) {
        network.AsProber([&] {
            Network::Run(std::string("nft 'flush ruleset; add table ip t; add chain ip t c { type "
                                     "filter hook output priority 0; }; add rule ip t c udp ") +
                         "dport 3702 " + each.header + "'");
        });
        host.Forget();
        for (std::size_t probe = 0; probe < each.probes; ++probe)
            prober->Send(Probe("urn:uuid:1"));
        group->ReceiveAll("", 200ms); // hears them too
        EXPECT_GE(Count("Send ProbeMatch"), each.least) << each.header;
        EXPECT_LE(Count("Send ProbeMatch"), each.most) << each.header;
        EXPECT_EQ(Count("level=\"75\""), 0U);
    }
    EXPECT_FALSE(host.WaitFor("timer expired", 1, 3s)) << "its own Hello is let in";
    host.Stop();
    EXPECT_EQ(group->ReceiveAll("<wsd:Bye>", 200ms).size(), 1U);
}

} // namespace
