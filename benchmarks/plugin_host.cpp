// Runs the plug-in on all adapters with an IPv4 address except loopback. Prints how long the start
// took, waits for SIGTERM, stops the plug-in and prints how long the stop took.
//
// Unlike pelorin-host, hands over each document only once: a repeated one would wake a thread of
// the plug-in, which must stay idle between Probes.

#include "adapter.h"
#include "document_source.h"
#include "host_document.h"
#include "plugin_library.h"
#include "text.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <exception>
#include <future>
#include <iostream>
#include <stdexcept>
#include <string_view>
#include <thread>

using kx::tools::Adapter;
using std::chrono::steady_clock;
using namespace std::chrono_literals;

namespace {

/// How many documents the plug-in has acted on. For each it sends a record "Stopping discovery
/// operations".
std::atomic<unsigned> stops{0};
/// How many adapters still have to send their Hello. 0 until Measure sets the number of adapters.
std::atomic<std::size_t> missingHellos{0};
std::promise<steady_clock::time_point> lastHello;

/// Receives the plug-in's records, on several threads. Does nothing after the last Hello, because
/// this process's processor time then counts as the plug-in's.
void OnRecord(const PelorinHostRequest* request, PelorinHostReply* /*reply*/)
{
    if (missingHellos == 0)
        return;
    const std::string_view record(static_cast<const char*>(request->data), request->dataLength);
    if (record.find("Stopping discovery operations") != std::string_view::npos)
        ++stops;
    if (record.find("Sending Hello") != std::string_view::npos && --missingHellos == 0)
        lastHello.set_value(steady_clock::now());
}

double Milliseconds(steady_clock::duration time)
{
    return std::chrono::duration<double, std::milli>(time).count();
}

void Measure(const kx::tools::CPluginLibrary& plugin, const std::vector<Adapter>& adapters,
             const sigset_t& end)
{
    plugin.Load(OnRecord);
    kx::tools::CPluginRun run(plugin);

    // The plug-in must be waiting when the measured document arrives: otherwise it would act only
    // when another document arrives. Therefore documents without adapters are handed over until the
    // plug-in acts on one. Each has another port, because the plug-in ignores a document that
    // changes nothing. 100 ms later the plug-in is waiting again.
    missingHellos = adapters.size();
    for (int port = 1; stops == 0; ++port) {
        plugin.Apply(kx::tools::MakeServerDocument(port, {}));
        std::this_thread::sleep_for(5ms);
    }
    std::this_thread::sleep_for(100ms);

    const std::string document = kx::tools::MakeServerDocument(kx::kDefaultServerPort, adapters);
    const auto sent = steady_clock::now();
    plugin.Apply(document);
    auto hello = lastHello.get_future();
    if (hello.wait_for(60s) != std::future_status::ready)
        throw std::runtime_error("not every adapter said Hello within a minute");
    std::cout << kx::Compose("started ", Milliseconds(hello.get() - sent), "\n") << std::flush;

    int signal = 0;
    sigwait(&end, &signal);

    const auto closed = steady_clock::now();
    run.Stop();
    std::cout << kx::Compose("closed ", Milliseconds(steady_clock::now() - closed), "\n");
    plugin.Unload();
}

} // namespace

int main()
{
    sigset_t end;
    sigemptyset(&end);
    sigaddset(&end, SIGTERM);
    // Blocked before any other thread starts: all threads inherit the mask, so SIGTERM ends only
    // the sigwait in Measure.
    pthread_sigmask(SIG_BLOCK, &end, nullptr);
    try {
        Measure(kx::tools::CPluginLibrary(kx::tools::OwnPluginFile()),
                kx::tools::ReadUsableAdapters(), end);
    } catch (const std::exception& error) {
        std::cerr << kx::Compose("bench-host: ", error.what(), "\n");
        return 1;
    }
    return 0;
}
