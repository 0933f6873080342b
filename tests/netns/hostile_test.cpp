#include "data.h"
#include "discovery.h"
#include "discovery_group.h"

#include <arpa/inet.h>
#include <atomic>
#include <fstream>
#include <netinet/ip.h>
#include <netinet/udp.h>
#include <optional>
#include <random>
#include <regex>
#include <sstream>
#include <sys/socket.h>
#include <unistd.h>

namespace {

/// Returns the process's resident memory in bytes.
std::ptrdiff_t Resident()
{
    std::ptrdiff_t pages = 0;
    std::ifstream("/proc/self/statm").ignore(99, ' ') >> pages;
    return pages * sysconf(_SC_PAGESIZE);
}

/// Sends the group a datagram with a forged source, through cam0. The recorder, a member,
/// receives a copy. A source 0.0.0.0 cannot be forged: the kernel replaces it (raw(7)).
void SendAs(const std::string& source, std::uint16_t port, const std::string& text)
{
    struct Packet {
        iphdr ip{};
        udphdr udp{};
        std::array<char, 1000> text{};
    } packet;
    const std::size_t size = sizeof(udphdr) + text.copy(packet.text.data(), packet.text.size());
    packet.ip.version = 4;
    packet.ip.ihl = sizeof(iphdr) / 4;
    packet.ip.ttl = 1;
    packet.ip.protocol = IPPROTO_UDP;
    packet.ip.saddr = inet_addr(source.c_str());
    packet.ip.daddr = inet_addr(kx::kMulticastGroup);
    packet.udp.source = htons(port);
    packet.udp.dest = htons(kx::kDiscoveryPort);
    packet.udp.len = htons(static_cast<std::uint16_t>(size));
    sockaddr_in group{};
    group.sin_family = AF_INET;
    group.sin_addr.s_addr = packet.ip.daddr;
    const int raw = socket(AF_INET, SOCK_RAW, IPPROTO_RAW);
    setsockopt(raw, SOL_SOCKET, SO_BINDTODEVICE, "cam0", sizeof("cam0"));
    EXPECT_GT(sendto(raw, &packet, sizeof(iphdr) + size, 0, reinterpret_cast<sockaddr*>(&group),
                     sizeof(group)),
              0);
    close(raw);
}

/// Returns how many UDP datagrams have been read so far in the recorder's namespace (InDatagrams).
int DatagramsRead()
{
    std::ifstream file("/proc/self/net/snmp");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    std::smatch match;
    std::regex_search(text, match, std::regex("\nUdp: (\\d+)"));
    return std::stoi(match[1]);
}

/// Sends the Probe, up to 20 times, until it is answered within a second: the plug-in may still be
/// reading earlier datagrams.
std::optional<Datagram> Ask(Socket& prober, const std::string& probe)
{
    std::optional<Datagram> answer;
    for (int turn = 0; turn < 20 && !answer; ++turn) {
        prober.Send(probe);
        answer = prober.Receive(1s);
    }
    return answer;
}

// docs/operations.md (A hostile network) repeats some of these numbers: the lengths of the first
// two Probes in floods.txt and of their answers, the largest factor between them (9), the records
// for each answered Probe (2), and the maximum length of a record.
TEST_F(Discovery, FloodsDoNotStopAnswersOrGrowMemoryOrLog)
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
                if (count > 500) // the first 500 come without a pause, faster than they are read
                    std::this_thread::sleep_for(100us);
            }
        };
        flood(700);
        [[maybe_unused]] const auto before = Resident();
        flood(2000);
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
        EXPECT_LT(Resident() - before, 512 * 1024);
#endif
        EXPECT_NEAR(records, 2 * answers, 4) << "except for records being written";
        EXPECT_LT(longest, 2700U) << "bytes of a record";
        const auto answer = Ask(*prober, answerSize > 0 ? whole : Probe("urn:uuid:1"));
        EXPECT_TRUE(answer) << "no answer any more";
        EXPECT_TRUE(answerSize == 0 || (answer && answer->text.size() == answerSize));
        while (prober->Receive(100ms)) {
        }
        EXPECT_LT(answerSize, 9 * size);
    }
    host.Stop();
}

TEST_F(Discovery, ForgedSourcesDoNotSilenceIt)
{
    Send({kCam0});
    ASSERT_TRUE(group->Receive(2s));
    const int read = DatagramsRead();
    const std::size_t records = host.Calls().size();
    const std::pair<const char*, std::uint16_t> sources[] = {
        {"10.7.0.2", 0}, {"0.0.0.1", 9}, {"224.0.0.1", 9}, {"255.255.255.255", 9}};
    for (int turn = 0; turn < 25; ++turn) {
        for (const auto& [address, port] : sources)
            SendAs(address, port, Probe("urn:uuid:forged"));
    }
    prober->Send(Probe("urn:uuid:good"));
    EXPECT_TRUE(prober->Receive(1s));
    EXPECT_GT(DatagramsRead() - read, 100) << "they did not arrive";
    EXPECT_EQ(host.Calls().size(), records + 2) << "more than one Probe and its answer";
}

/// How many Probes a firewall rule accepts: `burst` immediately, and then `rate` a second.
struct Limit {
    double rate;
    double burst;
};

// Tests the firewall rules that docs/operations.md recommends.
TEST_F(Discovery, FirewallLetsClientsInAndNoFlood)
{
    const std::string text = ReadData("../../docs/operations.md");
    const std::string subnets = "10.0.0.0/24, 10.0.1.0/24";
    std::string rules = text.substr(text.find("table inet discovery {"));
    rules.resize(rules.find("```"));
    // Here clients have other addresses than in the page's example.
    rules.replace(rules.find(subnets), subnets.size(), "10.7.0.2-10.7.0.255");
    Network::Run("nft '" + rules + "'");
    std::vector<Limit> limits;
    const std::regex form("over (\\d+)/second burst (\\d+)");
    for (std::sregex_iterator each(rules.begin(), rules.end(), form), end; each != end; ++each)
        limits.push_back({std::stod(each->str(1)), std::stod(each->str(2))});
    ASSERT_EQ(limits.size(), 2U) << "for each prober, for all together";

    Send({kCam0});
    ASSERT_TRUE(group->Receive(2s)) << "no Hello";
    EXPECT_FALSE(host.WaitFor("timer expired", 1, 4s)) << "its own Hello is kept out";

    const struct {
        /// nft(8) statement that sets the source address of the Probes; "counter" does not.
        const char* header;
        double probes;
        Limit limit;
    } cases[] = {
        {"counter", 1, limits[0]},
        {"ip saddr set 10.7.0.255", 1, {}},
        {"ip saddr set 192.0.2.1", 1, {}},
        {"counter", 300, limits[0]},
        {"ip saddr set 10.7.0.9", 1, limits[0]},
        // 200 sources in turn, from 168230922 on, which is 10.7.0.10.
        {"ip saddr set numgen inc mod 200 offset 168230922", 300, limits[1]},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.header);
        network.AsProber([&] {
            Network::Run(std::string("nft 'flush ruleset; add table ip t; add chain ip t c { type "
                                     "filter hook output priority 0; }; add rule ip t c udp ") +
                         "dport 3702 " + each.header + "'");
        });
        host.Forget();
        const auto start = steady_clock::now();
        for (int probe = 0; probe < each.probes; ++probe)
            prober->Send(Probe("urn:uuid:1"));
        const std::chrono::duration<double> taken = steady_clock::now() - start;
        const double least = std::min(each.probes, each.limit.burst);
        // The last Probes may arrive up to a second later. Until then the rule accepts more.
        const double most = std::min(each.probes, least + each.limit.rate * (taken.count() + 1));
        const char* const answer = "Send ProbeMatch";
        EXPECT_TRUE(host.WaitFor(answer, static_cast<std::size_t>(least), 10s));
        std::size_t answers = 0;
        do {
            answers = Count(answer);
            group->ReceiveAll("", 1s); // a second for late answers, and for the limits to recover
        } while (Count(answer) > answers);
        EXPECT_LE(answers, most);
        EXPECT_EQ(Count("level=\"75\""), 0U);
    }
    // Answers to sources that do not exist stay in the plug-in's send buffer until the kernel gives
    // up resolving the addresses. The next answer may have to wait, so Ask repeats the Probe.
    network.AsProber([] { Network::Run("nft flush ruleset"); });
    while (prober->Receive(0ms)) {
    }
    EXPECT_TRUE(Ask(*prober, Probe("urn:uuid:1")));
    host.Stop();
    EXPECT_EQ(group->ReceiveAll("<wsd:Bye>", 200ms).size(), 1U);
}

} // namespace
