#include "run_plugin.h"

#include "adapter_monitor.h"
#include "host_log.h"
#include "text.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <utility>

using std::chrono::milliseconds;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

constexpr milliseconds kResendInterval{100};
/// Interval at which the current document is repeated, because the plug-in may be busy for longer
/// than kActBound.
constexpr std::chrono::seconds kRepeatInterval{2};
/// Time for the plug-in to act on a document. It ignores one that changes nothing, and is late if
/// it has to stop several blocked endpoints first.
constexpr std::chrono::seconds kActBound{1};
constexpr char kNotActedText[] =
    "The plug-in did not act on this within a second: it brings nothing new, or the plug-in is "
    "held up";

/// Prints the findings about the user's document.
void SayFindings(const DocumentCheck& check)
{
    for (const DocumentFinding& each : check.findings)
        Say("Line " + ToText(each));
    Say(Compose("The document is ", ToText(check.verdict)));
}

/// Hands documents to the plug-in, each several times: the plug-in misses a document while it is
/// not waiting for one, and ignores repetitions.
class CDelivery {
public:
    explicit CDelivery(const CPluginLibrary& served) : plugin(served) {}

    void Start(OutgoingDocument next)
    {
        document = std::move(next);
        Say("Handing over " + document.summary);
        if (document.check)
            SayFindings(*document.check);
        stopsBefore = StopRecordCount();
        actBy = steady_clock::now() + kActBound;
        settled = false;
    }

    /// Sends the current document: at each call until the plug-in has acted on it or kActBound has
    /// passed, then every kRepeatInterval. Before the plug-in has acted on any document, always
    /// sends: its run may not have begun to wait for one.
    void Resend()
    {
        const auto now = steady_clock::now();
        const bool seldom = settled && StopRecordCount() > 0;
        if (seldom && now < sentAt + kRepeatInterval)
            return;
        // Read before sending, so that this document is sent once more even if the action was for
        // the previous one.
        const bool acted = StopRecordCount() != stopsBefore;
        const bool readable =
            document.check && document.check->verdict != DocumentCheck::Verdict::kDropped;
        if (readable && !settled && !acted && now >= actBy)
            Say(kNotActedText);
        settled = settled || acted || now >= actBy;
        sentAt = now;
        plugin.Apply(document.text);
    }

private:
    const CPluginLibrary& plugin;
    OutgoingDocument document{};
    unsigned stopsBefore = 0;
    steady_clock::time_point actBy;
    steady_clock::time_point sentAt;
    bool settled = false;
};

/// Lets the source read. If that fails, prints the reason and keeps the current document.
template <class Read>
void Attempt(const Read& read)
{
    try {
        read();
    } catch (const std::exception& error) {
        Say(Compose("Nothing new is handed over: ", error.what()));
    }
}

/// Handles the signals that arrived; returns whether one of them asks for the end.
bool HandleSignals(const CSignalQueue& signals, IDocumentSource& source)
{
    while (const int signal = signals.ReadNext()) {
        if (signal != SIGHUP)
            return true;
        Attempt([&] { source.Read(); });
    }
    return false;
}

/// Hands documents to the running plug-in until it is time to close it.
///
/// Waits for kAdapterGatherTime after the first change of the source: changes come in bursts, and
/// each changed document makes the plug-in restart all endpoints.
void ServeUntilStop(const CPluginLibrary& plugin, IDocumentSource& source, const CPluginRun& run,
                    const CSignalQueue& signals, steady_clock::time_point deadline)
{
    CDelivery delivery(plugin);
    auto gathered = steady_clock::time_point::max();
    for (auto now = steady_clock::now(); now < deadline && !run.EndsWithin(milliseconds::zero());
         now = steady_clock::now()) {
        if (now >= gathered) {
            gathered = steady_clock::time_point::max();
            Attempt([&] { source.ReadChanges(); });
        }
        if (auto document = source.Next())
            delivery.Start(std::move(*document));
        delivery.Resend();

        const bool gathering = gathered != steady_clock::time_point::max();
        pollfd watched[] = {{signals.Descriptor(), POLLIN, 0},
                            {gathering ? -1 : source.Descriptor(), POLLIN, 0}};
        const auto next = std::min({deadline, gathered, now + kResendInterval});
        poll(watched, std::size(watched),
             static_cast<int>(std::chrono::ceil<milliseconds>(next - now).count()));
        if (watched[1].revents)
            gathered = steady_clock::now() + kAdapterGatherTime;
        if (HandleSignals(signals, source))
            return;
    }
}

void RunFromLoadToUnload(const CPluginLibrary& plugin, IDocumentSource& source,
                         const CSignalQueue& signals, std::optional<steady_clock::duration> limit)
{
    Say(Compose("Loaded module ", plugin.Load(OnPluginRequest)));
    plugin.Open();
    Say("Opened");

    CPluginRun run(plugin);
    ServeUntilStop(plugin, source, run, signals,
                   limit ? steady_clock::now() + *limit : steady_clock::time_point::max());
    const bool endedEarly = run.EndsWithin(milliseconds::zero());

    Say("Closing");
    run.Stop();
    plugin.Unload();
    Say("Unloaded");
    if (endedEarly)
        throw std::runtime_error("its run ended before it was closed");
}

} // namespace

void RunPlugin(const CPluginLibrary& plugin, IDocumentSource& source, const CSignalQueue& signals,
               std::optional<steady_clock::duration> limit)
{
    try {
        RunFromLoadToUnload(plugin, source, signals, limit);
    } catch (const std::exception& error) {
        // Copies the text: the code of the exception is in the library, which is unloaded before
        // the caller could ask the exception for it.
        throw std::runtime_error(Compose("the plug-in failed: ", error.what()));
    }
}

} // namespace kx::tools
