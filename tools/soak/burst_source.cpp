#include "burst_source.h"

#include "host_document.h"
#include "host_log.h"
#include "process_state.h"
#include "text.h"

#include <thread>
#include <vector>

using std::chrono::milliseconds;

namespace kx::tools {
namespace {

/// Mean of the random intervals between bursts.
constexpr milliseconds kBurstInterval{4000};
constexpr milliseconds kStateInterval{1000};
constexpr int kDocumentsPerThread = 25;
constexpr int kHugeAdapterCount = 10000;

int RandomBelow(std::mt19937& generator, int bound)
{
    return std::uniform_int_distribution<int>(0, bound - 1)(generator);
}

} // namespace

milliseconds RandomTime(std::mt19937& generator, milliseconds mean)
{
    std::exponential_distribution<double> time(1.0 / static_cast<double>(mean.count()));
    return milliseconds(static_cast<milliseconds::rep>(time(generator)));
}

CBurstSource::CBurstSource(const CPluginLibrary& served, std::mt19937& generator)
    : plugin(served),
      random(generator),
      adapterSource(kDefaultServerPort, ReadNetworkAdapters, true),
      nextBurst(Clock::now() + RandomTime(random, kBurstInterval)),
      nextState(Clock::now() + kStateInterval)
{
}

std::optional<OutgoingDocument> CBurstSource::Next()
{
    const auto now = Clock::now();
    if (now >= nextState) {
        nextState = now + kStateInterval;
        Say("Running: " + ProcessState());
    }
    if (now >= nextBurst) {
        nextBurst = now + RandomTime(random, kBurstInterval);
        SendBurst();
        adapterSource.Read();
    }
    return adapterSource.Next();
}

void CBurstSource::SendBurst()
{
    const auto send = [this](const std::vector<std::string>& documents) {
        for (const std::string& document : documents)
            plugin.Apply(document);
    };
    // Created in advance, so that both threads hand over their documents without a pause.
    std::vector<std::string> halves[2];
    for (auto& half : halves) {
        for (int count = 0; count < kDocumentsPerThread; ++count)
            half.push_back(MakeDocument());
    }
    Say(Compose("Handing over a burst of ", 2 * kDocumentsPerThread, " documents"));
    std::thread other([&] { send(halves[0]); });
    send(halves[1]);
    other.join();
}

/// Returns a random document with up to two connected adapters, each loopback or one that does not
/// exist. On average, one document in a burst lists thousands instead, none of them connected. One
/// document in four is truncated.
std::string CBurstSource::MakeDocument()
{
    const bool huge = RandomBelow(random, 2 * kDocumentsPerThread) == 0;
    std::vector<Adapter> list;
    for (int count = huge ? kHugeAdapterCount : RandomBelow(random, 3); count > 0; --count) {
        const bool loopback = RandomBelow(random, 2) == 0;
        Adapter adapter{};
        adapter.name = loopback ? "lo" : "none";
        adapter.ipAddress = Compose(loopback ? "127.0.0." : "10.9.0.", 1 + RandomBelow(random, 2));
        adapter.macAddress = "02:00:00:00:07:00";
        adapter.connected = !huge;
        list.push_back(adapter);
    }
    std::string document = MakeServerDocument(RandomBelow(random, 65536), list);
    if (RandomBelow(random, 4) == 0)
        document.resize(document.size() * static_cast<std::size_t>(RandomBelow(random, 100)) / 100);
    return document;
}

} // namespace kx::tools
