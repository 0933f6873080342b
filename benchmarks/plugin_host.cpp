// Runs the plug-in on all adapters except loopback, without a log. Prints how long the start took,
// waits for SIGTERM, prints how long the stop took. Unlike pelorin-host it hands over each document
// once, so that the plug-in's threads stay idle between Probes.

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

/// Counts of the plug-in's records. After the last Hello the callback does nothing, so that its
/// time is not measured as the plug-in's.
std::atomic<unsigned> stops{0};
std::atomic<std::size_t> missingHellos{0};
std::promise<steady_clock::time_point> lastHello;

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

    // The plug-in misses a document that arrives while it is not waiting for one. So documents
    // without adapters, each with another port, are sent until it acts on one. A moment later it
    // waits again, and acts immediately on the measured document.
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
    pthread_sigmask(SIG_BLOCK, &end, nullptr); // before the plug-in's threads, which inherit it
    try {
        Measure(kx::tools::CPluginLibrary(kx::tools::OwnPluginFile()),
                kx::tools::ReadUsableAdapters(), end);
    } catch (const std::exception& error) {
        std::cerr << kx::Compose("bench-host: ", error.what(), "\n");
        return 1;
    }
    return 0;
}
