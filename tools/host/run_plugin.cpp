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

constexpr milliseconds kTurnInterval{100};
/// How often a document is sent again for as long as it holds: the plug-in may have been held up
/// for longer than anybody would wait.
constexpr std::chrono::seconds kRepeatInterval{2};
/// How long the plug-in gets to act on a document. It need not act at all: what brings nothing new
/// is passed over in silence. It may act later, when it has several blocked endpoints to stop
/// first.
constexpr std::chrono::seconds kActBound{1};
constexpr char kNotActedText[] =
    "The plug-in did not act on this within a second: it brings nothing new, or the plug-in is "
    "held up";

/// Says what the check found in a document of the user's own.
void SayFindings(const DocumentCheck& check)
{
    for (const Finding& each : check.findings)
        Say("Line " + ToText(each));
    Say(Compose("The document is ", ToText(check.verdict)));
}

/// Hands documents to the plug-in, each several times.
///
/// The plug-in does not see a document that comes while it is not waiting for one, until the next
/// comes. Sending it more often than that does no harm, since only a change counts.
class CDelivery {
public:
    explicit CDelivery(const CPluginLibrary& served) : plugin(served) {}

    /// Whether the document in hand may give way to another.
    bool Free() const { return settled || !document.takesAway; }

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

    /// To be called at every turn: sends the document in hand, often until the plug-in has had its
    /// chance with it. One that never acted on any may not have begun to wait: it has its chance
    /// for ever.
    void Turn()
    {
        const auto now = steady_clock::now();
        const bool seldom = settled && StopRecordCount() > 0;
        if (seldom && now < sentAt + kRepeatInterval)
            return;
        // Looked at before the sending, so it is sent once more after the plug-in acted: that may
        // have been on the document before.
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

/// Lets the source read. What is in its way is said, and what is handed over stays.
template <class Read>
void Attempt(const Read& read)
{
    try {
        read();
    } catch (const std::exception& error) {
        Say(Compose("Nothing new is handed over: ", error.what()));
    }
}

/// Takes the signals that came; true when one of them asks for the end.
bool TakeSignals(const CSignalQueue& signals, IDocumentSource& source)
{
    while (const int signal = signals.Take()) {
        if (signal != SIGHUP)
            return true;
        Attempt([&] { source.Read(); });
    }
    return false;
}

/// Serves the running plug-in until it is time to close it.
///
/// Changes of the source are gathered for a while from the first on: they tend to come in bursts,
/// and every document that brings one has the plug-in start all over.
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
        if (delivery.Free()) {
            if (auto document = source.Next())
                delivery.Start(std::move(*document));
        }
        delivery.Turn();

        const bool gathering = gathered != steady_clock::time_point::max();
        pollfd watched[] = {{signals.Descriptor(), POLLIN, 0},
                            {gathering ? -1 : source.Descriptor(), POLLIN, 0}};
        const auto next = std::min({deadline, gathered, now + kTurnInterval});
        poll(watched, std::size(watched),
             static_cast<int>(std::chrono::ceil<milliseconds>(next - now).count()));
        if (watched[1].revents)
            gathered = steady_clock::now() + kAdapterGatherTime;
        if (TakeSignals(signals, source))
            return;
    }
}

void LiveThrough(const CPluginLibrary& plugin, IDocumentSource& source, const CSignalQueue& signals,
                 std::optional<steady_clock::duration> limit)
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
        LiveThrough(plugin, source, signals, limit);
    } catch (const std::exception& error) {
        // As a text of our own: the code of an exception that the plug-in threw goes with its
        // library, which is closed before anybody further out could ask the exception what it is.
        throw std::runtime_error(Compose("the plug-in failed: ", error.what()));
    }
}

} // namespace kx::tools
