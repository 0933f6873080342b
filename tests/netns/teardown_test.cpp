#include "discovery.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <future>
#include <random>

using std::chrono::milliseconds;

namespace {

const std::string kMissing = "10.9.0.1 cam9 m";

/// Longest time, in seconds, that a stop waits for the Bye of an endpoint. Here no Bye is blocked,
/// so at least the quickest of several stops has to take less.
constexpr double kByeBound = 0.49;
/// Longest time, in seconds, that a stop may take on a busy machine. Less than eight times
/// kByeBound: a stop that waits for the Byes of eight endpoints in turn is too slow.
constexpr double kNoise = 2;

/// The moment at which a stop begins.
struct Moment {
    const char* name;
    Lines adapters;
    const char* record; ///< a log record with this text; null: the call of IOCTL code 1
    int last;           ///< the stop follows a random one of the first `last` such records
    milliseconds by;    ///< after a random delay of at most this
    int rounds;
    int writers = 0;              ///< threads that hand over changing documents all the time
    const char* network = "true"; ///< a shell command that prepares the network
};

constexpr char kEachBriefly[] = "";
constexpr char kAtTheMoment[] = "+";
constexpr char kNowhere[] = "nowhere"; // in no record
/// Where the host's callback blocks in a round: at the first record with this text. Exceptions:
/// kEachBriefly, briefly at every record; kAtTheMoment, at the record that the stop follows (see
/// Moment); kNowhere, never.
const char* const kHolds[] = {kNowhere,      kEachBriefly,  kAtTheMoment, "Restarting",
                              "Probe urn",   "Retrying on", "Sending",    "Stopping discovery",
                              "Sending Bye", kAtTheMoment,  "all socket", "thread exiting"};

class Teardown : public Discovery, public testing::WithParamInterface<Moment> {
protected:
    Teardown()
    {
        host.Stop();
        host.Call("Unload");
    }

    int Pick(int low, int high) { return std::uniform_int_distribution<>(low, high)(random); }

    /// Runs the plug-in from Load to Unload and stops it at the moment that GetParam() describes.
    /// In about half of the rounds Close is called once before this stop: by the callback, when it
    /// gets the record after which the stop comes; before the run if the Moment names no record.
    ///
    /// @param hold  one of kHolds
    /// @return the seconds that FakeHost::Stop took, without those spent in the host's callback
    double Round(const std::string& hold);

    /// Random, or the value of the environment variable PELORIN_SEED, to repeat a failed test.
    const unsigned seed = [given = std::getenv("PELORIN_SEED")] {
        return given ? static_cast<unsigned>(std::stoul(given)) : std::random_device{}();
    }();
    std::mt19937 random{seed};
};

double Teardown::Round(const std::string& hold)
{
    const Moment& moment = GetParam();
    const bool fromInside = Pick(0, 1) == 1;
    const milliseconds holdTime(hold == kEachBriefly ? 3 : Pick(10, 1500));
    std::atomic<int> before{Pick(1, moment.last)};
    std::atomic<bool> holds{false}, over{false};
    std::atomic<steady_clock::time_point> asked{steady_clock::time_point::max()};
    std::atomic<steady_clock::rep> inCallback{0};
    std::promise<void> reached;
    host.Forget();
    host.Load();
    if (moment.record)
        host.Run();
    host.onRecord = [&](const std::string& text) {
        const auto begin = steady_clock::now();
        EXPECT_FALSE(over) << "after the return: " << text;
        const bool now = moment.record && text.find(moment.record) != text.npos && --before == 0;
        if (now && fromInside)
            host.Call("Close");
        if (now)
            reached.set_value();
        if (hold == kEachBriefly ||
            ((hold == kAtTheMoment ? now : text.find(hold) != text.npos) && !holds.exchange(true)))
            std::this_thread::sleep_for(holdTime);
        const auto took = steady_clock::now() - std::max(begin, asked.load());
        inCallback += std::max(took.count(), steady_clock::rep{0});
    };
    std::vector<std::thread> threads;
    if (moment.record) {
        for (int writer = 0; writer < moment.writers; ++writer) {
            threads.emplace_back([&, writer] {
                const Lines sets[] = {{kCam1, kMissing}, moment.adapters, {kCam0}, {}};
                for (int turn = writer; !over; ++turn) {
                    Send(sets[turn % 4], std::to_string(80 + writer));
                    std::this_thread::sleep_for(milliseconds(turn % 13));
                }
            });
        }
        threads.emplace_back([&] {
            for (int turn = 0; !over; ++turn) {
                (turn % 2 ? prober : prober1)->Send(turn % 5 ? Probe("urn:uuid:1") : "<");
                std::this_thread::sleep_for(1ms);
            }
        });
        const auto done = reached.get_future();
        int turns = 0;
        do // repeated, because the plug-in misses a document while it is not waiting for one
            Send(moment.adapters);
        while (done.wait_for(200ms) != std::future_status::ready && ++turns < 100);
        EXPECT_LT(turns, 100) << "the record never came";
    } else {
        if (fromInside)
            host.Call("Close");
        host.Lend();
    }
    std::this_thread::sleep_for(moment.by * Pick(0, 1000) / 1000.0);
    asked = steady_clock::now();
    host.Stop();
    const auto taken = steady_clock::now() - asked.load();
    over = true;
    for (std::thread& each : threads)
        each.join();
    host.Call("Unload");
    host.onRecord = nullptr;
    EXPECT_LT((steady_clock::now() - asked.load() - taken) / 1.0s, kNoise);
    EXPECT_NE(host.Calls().back().data.find("io service thread exiting"), std::string::npos);
    EXPECT_EQ(host.Times("Sending Bye").size() + host.Times("Retrying on").size(),
              host.Times("Stopping all socket").size())
        << "one Bye per endpoint";
    return std::chrono::duration<double>(taken - steady_clock::duration(inCallback)).count();
}

// Whenever the stop comes, it takes less than kNoise, the time in the host's callback aside. Each
// endpoint logs one Bye. No descriptor and no thread is left.
TEST_P(Teardown, IsBoundedAndComplete)
{
    const Moment& moment = GetParam();
    Network::Run(moment.network);
    double shortest = kNoise;
    for (int round = 0; round < moment.rounds; ++round) {
        const char* const hold = kHolds[(seed + static_cast<unsigned>(round)) % std::size(kHolds)];
        SCOPED_TRACE(testing::Message() << "seed " << seed << ", round " << round << ": " << hold);
        const auto descriptors = Entries("/proc/self/fd"), threads = Entries("/proc/self/task");
        const auto taken = Round(hold);
        EXPECT_LT(taken, kNoise);
        EXPECT_EQ(Entries("/proc/self/fd"), descriptors);
        // The kernel may list a thread for a moment after it was joined.
        for (int tenth = 0; tenth < 10 && Entries("/proc/self/task") > threads; ++tenth)
            std::this_thread::sleep_for(100ms);
        EXPECT_LE(Entries("/proc/self/task"), threads);
        shortest = std::min(shortest, taken);
    }
    EXPECT_LT(shortest, kByeBound) << "no stop was prompt";
}

constexpr char kDeaf[] = "nft 'add table ip t; add chain ip t c { type filter hook input priority"
                         " 0; }; add rule ip t c udp dport 3702 drop'";
INSTANTIATE_TEST_SUITE_P(
    Moments, Teardown,
    testing::Values(Moment{"RunBegins", {}, nullptr, 1, 1ms, 24},
                    Moment{"Starting", Lines(8, kCam0), "Restarting", 8, 2ms, 12},
                    Moment{"Answering", {kCam0}, "Probe urn", 20, 2ms, 12},
                    Moment{"Documents", Lines(8, kCam0), "all socket", 30, 2ms, 12, 3},
                    Moment{"BackingOff", Lines(8, kMissing), "Retrying on", 8, 9ms, 12},
                    Moment{"BackOffEnds", {kMissing, kMissing}, "Restarting", 4, 5ms, 5},
                    Moment{
                        "Rejoining", {kCam0, kCam1, kCam1, kCam1}, "Re-join", 4, 5ms, 4, 0, kDeaf}),
    [](const auto& each) { return each.param.name; });

} // namespace
