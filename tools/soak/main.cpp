#include "burst_source.h"
#include "host_log.h"
#include "plugin_library.h"
#include "process_state.h"
#include "run_plugin.h"
#include "run_tool.h"
#include "text.h"

#include <algorithm>
#include <dlfcn.h>
#include <stdexcept>
#include <thread>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

constexpr char kDescription[] =
    "Loads, runs, closes and unloads the plug-in beside this file repeatedly, on all adapters "
    "except loopback: short lives for two thirds of the time, then a long one.";

/// Mean of the random lives. A life is the time from Load to Unload.
constexpr milliseconds kMeanLife{2000};

struct SoakOptions {
    double seconds = 60;
    std::mt19937::result_type seed = 1;
};

void AddOptions(CLI::App& app, SoakOptions& options)
{
    app.add_option("--for", options.seconds, "Time to run")
        ->check(PositiveSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
    app.add_option("--seed", options.seed, "Seed of the random generator")
        ->type_name("N")
        ->capture_default_str();
}

/// Returns false when a signal ended the run before `limit` was over.
bool RunOneLife(const CSignalQueue& signals, std::mt19937& random, steady_clock::duration limit)
{
    const auto end = steady_clock::now() + limit;
    const CPluginLibrary plugin(OwnPluginFile());
    CBurstSource source(plugin, random);
    source.Read();
    RunPlugin(plugin, source, signals, limit);
    return steady_clock::now() >= end;
}

/// Waits up to 0.1 s until this thread is the only one: the kernel still lists a thread for a
/// moment after it was joined.
void AwaitThreadEnds()
{
    for (int poll = 0; poll < 10 && ThreadCount() > 1; ++poll)
        std::this_thread::sleep_for(milliseconds(10));
}

/// Throws std::runtime_error if the library is still in memory after dlclose(3).
void CheckUnloaded()
{
    if (dlopen(OwnPluginFile().c_str(), RTLD_NOW | RTLD_NOLOAD))
        throw std::runtime_error("the plug-in stays loaded");
}

int Soak(const SoakOptions& options)
{
    const CSignalQueue signals;
    std::mt19937 random(options.seed);
    const auto start = steady_clock::now();
    const auto end = start + ToDuration(options.seconds);
    const auto lastStart = start + ToDuration(options.seconds * 2 / 3);
    for (bool last = false, interrupted = false; !last && !interrupted;) {
        const auto now = steady_clock::now();
        last = now >= lastStart;
        const auto limit =
            last ? end - now
                 : std::min<steady_clock::duration>(RandomTime(random, kMeanLife), lastStart - now);
        interrupted = !RunOneLife(signals, random, limit);
        CheckUnloaded();
        AwaitThreadEnds();
        Say("Gone: " + ProcessState());
    }
    return 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    return RunTool(argc, argv, "pelorin-soak", kDescription, AddOptions, Soak);
}
