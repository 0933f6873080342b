#include "run_plugin.h"

#include "host_log.h"
#include "text.h"

#include <algorithm>
#include <future>
#include <stdexcept>
#include <thread>

using std::chrono::steady_clock;

namespace kx::tools {
namespace {

constexpr std::chrono::milliseconds kResendInterval{100};
constexpr std::chrono::milliseconds kCloseInterval{10};

void Say(const std::string& text)
{
    Print({"host", text});
}

void SendDocument(const PluginLibrary& plugin, const std::string& document)
{
    IoctlRequest request{};
    request.code = kApplyServerDocument;
    request.dataLength = static_cast<std::int32_t>(document.size());
    request.data = document.data();
    IoctlReply reply{};
    plugin.ioctl(&request, &reply);
}

/// IOCTL code 1: returns when the plug-in was closed.
void LendThread(const PluginLibrary& plugin)
{
    IoctlRequest request{};
    request.code = kRunDiscovery;
    IoctlReply reply{};
    plugin.ioctl(&request, &reply);
}

bool Ended(const std::future<void>& run, std::chrono::milliseconds wait)
{
    return run.wait_for(wait) == std::future_status::ready;
}

/// Serves the running plug-in until it is time to close it.
///
/// A document that comes before the plug-in's run waits for one is not seen until the next. So it
/// is sent until the plug-in shows by its first log record that it has acted on it; sending it more
/// often than that does no harm, since only a change counts.
void ServeUntilStop(const PluginLibrary& plugin, const std::string& document,
                    const std::future<void>& run, const StopSignals& stopSignals,
                    steady_clock::time_point deadline)
{
    const unsigned countBefore = LogRecordCount();
    for (auto now = steady_clock::now(); now < deadline; now = steady_clock::now()) {
        if (LogRecordCount() == countBefore)
            SendDocument(plugin, document);
        if (stopSignals.WaitFor(std::min<steady_clock::duration>(deadline - now, kResendInterval)))
            return;
        if (Ended(run, std::chrono::milliseconds::zero()))
            return;
    }
}

void LiveThrough(const PluginLibrary& plugin, const std::string& document,
                 const StopSignals& stopSignals, std::optional<steady_clock::duration> limit)
{
    const LoadRequest loadRequest{{}, OnPluginRequest};
    LoadReply loadReply{};
    plugin.load(&loadRequest, &loadReply);
    Say(Compose("Loaded module ", loadReply.moduleId));

    OpenReply openReply{};
    plugin.open(nullptr, &openReply);
    Say("Opened");

    std::packaged_task<void()> lending([&] { LendThread(plugin); });
    std::future<void> run = lending.get_future();
    std::thread lent(std::move(lending));
    ServeUntilStop(plugin, document, run, stopSignals,
                   limit ? steady_clock::now() + *limit : steady_clock::time_point::max());
    const bool endedEarly = Ended(run, std::chrono::milliseconds::zero());

    // A Close that falls between the run's look at its stop flag and its wait is not seen until the
    // next; hence again and again.
    Say("Closing");
    StatusReply statusReply{};
    do
        plugin.close(nullptr, &statusReply);
    while (!Ended(run, kCloseInterval));
    lent.join();
    run.get();

    plugin.unload(nullptr, &statusReply);
    Say("Unloaded");
    if (endedEarly)
        throw std::runtime_error("its run ended before it was closed");
}

} // namespace

void RunPlugin(const PluginLibrary& plugin, const std::string& document,
               const StopSignals& stopSignals, std::optional<steady_clock::duration> limit)
{
    try {
        LiveThrough(plugin, document, stopSignals, limit);
    } catch (const std::exception& error) {
        // As a text of our own: the code of an exception that the plug-in threw goes with its
        // library, which is closed before anybody further out could ask the exception what it is.
        throw std::runtime_error(Compose("the plug-in failed: ", error.what()));
    }
}

} // namespace kx::tools
