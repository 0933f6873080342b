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

/// Maximum time between two calls of CDelivery::Resend.
constexpr milliseconds kResendInterval{100};
/// Time between two sends of a document after the plug-in has acted on it or kActBound has passed.
/// The sends go on, because a plug-in that was busy for longer may have missed all earlier ones.
constexpr std::chrono::seconds kRepeatInterval{2};
/// Time in which the plug-in normally acts on a document that changes something. It takes longer if
/// it has to stop several blocked endpoints first.
constexpr std::chrono::seconds kActBound{1};
constexpr char kNotActedText[] =
    "The plug-in did not act on this within a second: it brings nothing new, or the plug-in is "
    "held up";

void SayFindings(const DocumentCheck& check)
{
    for (const DocumentFinding& each : check.findings)
        Say("Line " + ToText(each));
    Say(Compose("The document is ", ToText(check.verdict)));
}

/// Hands documents to the plug-in, each repeatedly until the next one, because the plug-in misses a
/// document that comes while it is not waiting for one. Repetitions do no harm: the plug-in ignores
/// a document that changes nothing.
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

    /// Sends the current document at every call until the plug-in has acted on it or kActBound has
    /// passed, then once in each kRepeatInterval. While StopRecordCount is 0, the plug-in has acted
    /// on no document, perhaps because its run is not waiting yet: then this sends at every call.
    void Resend()
    {
        const auto now = steady_clock::now();
        const bool seldom = settled && StopRecordCount() > 0;
        if (seldom && now < sentAt + kRepeatInterval)
            return;
        // `acted` is true too early if the new stop record belongs to the previous document. So the
        // document is sent once more below in any case, and again after kRepeatInterval.
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

/// Calls `read`. If it throws, prints the reason and returns false.
template <class Read>
bool Attempt(const Read& read)
{
    try {
        read();
        return true;
    } catch (const std::exception& error) {
        Say(Compose("Nothing new is handed over: ", error.what()));
        return false;
    }
}

/// Handles the signals that have arrived, as RunPlugin states. Returns whether the host has to end.
bool HandleSignals(const CSignalQueue& signals, IDocumentSource& source)
{
    while (const int signal = signals.ReadNext()) {
        if (signal != SIGHUP)
            return true;
        Attempt([&] { source.Read(); });
    }
    return false;
}

/// Hands documents to the running plug-in until the deadline, SIGINT, SIGTERM or the end of the
/// run.
///
/// Reads changes only kAdapterGatherTime after the source reports one: they come in bursts, and
/// each changed document makes the plug-in restart all endpoints.
void ServeUntilStop(const CPluginLibrary& plugin, IDocumentSource& source, const CPluginRun& run,
                    const CSignalQueue& signals, steady_clock::time_point deadline)
{
    CDelivery delivery(plugin);
    auto gathered = steady_clock::time_point::max();
    for (auto now = steady_clock::now(); now < deadline && !run.EndsWithin(milliseconds::zero());
         now = steady_clock::now()) {
        if (now >= gathered) {
            // Tries again after a failure, because the changes are not reported again.
            gathered = Attempt([&] { source.ReadChanges(); }) ? steady_clock::time_point::max()
                                                              : now + kAdapterRetryTime;
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
        // Copies the text: the code of a plug-in's exception, such as what(), is in the library,
        // which the caller closes before the text is printed.
        throw std::runtime_error(Compose("the plug-in failed: ", error.what()));
    }
}

} // namespace kx::tools
