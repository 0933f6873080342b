#include "run_probe.h"

#include "event_json.h"
#include "event_table.h"
#include "join.h"
#include "probers.h"
#include "progress.h"
#include "rounds.h"
#include "run_tool.h"
#include "text.h"

#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>

#include <algorithm>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <stdexcept>
#include <unistd.h>

using boost::system::error_code;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

constexpr int kExitNoDevice = 1;

constexpr std::chrono::milliseconds kMaxProbeInterval{250};
constexpr std::chrono::milliseconds kProgressInterval{100};

bool IsRecorder(const std::optional<DeviceType>& type)
{
    const DeviceType recorder = RecorderType();
    return type && type->uri == recorder.uri && type->name == recorder.name;
}

/// Returns what the user looks for, as a noun for an error message.
std::string Sought(const std::optional<DeviceType>& type)
{
    if (!type)
        return "device";
    return IsRecorder(type) ? "recorder" : type->prefix + ":" + type->name;
}

/// Returns the counts as the end of a sentence, such as "; ignored: 2 not well-formed"; empty when
/// no datagram was ignored.
std::string IgnoredText(const IgnoredCounts& counts)
{
    const auto unread = [&](Unread reason) {
        return counts.unread[static_cast<std::size_t>(reason)];
    };
    const std::pair<std::uint64_t, const char*> reasons[] = {
        {unread(Unread::kNotWellFormed), "not well-formed"},
        {counts.otherProbe, "in answer to another Probe"},
        {unread(Unread::kOtherVersion), "of another version of WS-Addressing or WS-Discovery"},
        {unread(Unread::kNoAddress), "without an address"},
        {unread(Unread::kOtherMessage), "of another kind"},
    };
    std::string text;
    for (const auto& [count, reason] : reasons) {
        if (count > 0)
            text += Compose(text.empty() ? "; ignored: " : ", ", count, " ", reason);
    }
    return text;
}

/// Blocks SIGINT and SIGTERM on this thread until the process ends; the receiver's thread always
/// blocks them. The destructor of the signal set restores their default action: a second signal,
/// for example from timeout(1), would then kill the process before it returns its exit status.
void BlockEndSignals()
{
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGINT);
    sigaddset(&ending, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
}

/// One run of the tool.
///
/// `ioService` and `receiver` stand before the members that use them, to outlive them.
class CLookup {
public:
    explicit CLookup(const ProbeOptions& lookupOptions)
        : options(lookupOptions),
          receiver(ioService),
          devices(options.sought, options.watch),
          table(std::cout, {options.watch, IsRecorder(options.sought), options.sought.has_value(),
                            options.wide}),
          probers(
              ioService, receiver, options,
              [this](Message::Kind kind, const Heard& heard) { return OnHeard(kind, heard); },
              [this](const std::string& text) { Tell(text); }),
          rounds(
              ioService, receiver, devices,
              [this] {
                  probers.Ask({1, {}});
              },
              [this](const Event& event) { Show(event); }),
          signals(ioService),
          progressTimer(ioService)
    {
    }

    int Run();

private:
    void StartProbers(double timeoutSeconds);
    void Listen();
    int Close(double timeoutSeconds);
    void ShowProgress(); ///< shows the progress immediately, then every kProgressInterval
    bool OnHeard(Message::Kind kind, const Heard& heard);
    void Show(const Event& event);
    std::string FoundText() const;
    std::string NotFoundText(double timeoutSeconds) const;
    std::string OthersText() const;
    std::string DroppedText() const;

    void Tell(const std::string& text)
    {
        progress.Clear();
        Complain(kProbeName, text);
    }

    /// Errors: std::runtime_error when standard output cannot be written.
    static void Flush()
    {
        if (!std::cout.flush())
            throw std::runtime_error("cannot write to standard output");
    }

    const ProbeOptions& options;
    boost::asio::io_context ioService;
    CReceiver receiver;
    CDeviceList devices;
    CEventTable table;
    CProgress progress;
    CProbers probers;
    CRounds rounds; ///< started only when watching
    boost::asio::signal_set signals;
    boost::asio::steady_timer progressTimer;
    std::optional<steady_clock::time_point> deadline;
    bool interrupted = false;
    bool anyShown = false;
    bool anyMarked = false; ///< a shown device advertises another host, see AdvertisesOtherHost
    bool flushPosted = false;
};

int CLookup::Run()
{
    const double timeoutSeconds = options.timeoutSeconds.value_or(kDefaultTimeoutSeconds);
    if (options.watch) {
        signals.add(SIGINT);
        signals.add(SIGTERM);
        signals.async_wait([this](const error_code& /*error*/, int /*signal*/) {
            interrupted = true;
            BlockEndSignals();
            ioService.stop();
        });
    }
    StartProbers(timeoutSeconds);
    if (probers.None())
        return kExitError;
    if (!options.watch || options.timeoutSeconds)
        deadline = steady_clock::now() + ToDuration(timeoutSeconds);
    if (isatty(STDERR_FILENO) && (!options.json || isatty(STDOUT_FILENO)))
        ShowProgress();
    Listen();
    return Close(timeoutSeconds);
}

void CLookup::StartProbers(double timeoutSeconds)
{
    // All repetitions are sent in the first half of the timeout, to leave time for the answers.
    const ProbeSchedule schedule{
        options.times, std::min<steady_clock::duration>(
                           kMaxProbeInterval, ToDuration(timeoutSeconds) / (2 * options.times))};
    probers.Open();
    probers.Ask(schedule);
    if (options.watch) {
        probers.Follow([this] { rounds.AskSoon(); });
        rounds.Start();
    }
}

/// Runs the service until the deadline or a signal. At the deadline, datagrams that have arrived
/// are still evaluated; after a signal they are not.
void CLookup::Listen()
{
    for (;;) {
        try {
            deadline ? ioService.run_until(*deadline) : ioService.run();
            if (!interrupted)
                receiver.Finish();
            return;
        } catch (const AdapterError& error) {
            // The loop runs the service again: the other adapters continue.
            Tell(error.what());
        }
    }
}

int CLookup::Close(double timeoutSeconds)
{
    for (const Event& each : devices.ReleaseHeld())
        Show(each);
    progress.Clear();
    Flush();
    if (anyMarked && !options.json)
        std::cerr << "! XADDRS names another host than SOURCE: another address of the device, one "
                     "that it does not have, or one behind a NAT\n";
    if (!anyShown && !interrupted) {
        Complain(kProbeName, NotFoundText(timeoutSeconds));
        return kExitNoDevice;
    }
    const std::string remarks = OthersText() + IgnoredText(probers.Ignored()) + DroppedText();
    if (!options.json)
        std::cerr << FoundText() + remarks + "\n";
    else if (!remarks.empty())
        Complain(kProbeName, FoundText() + remarks);
    return 0;
}

void CLookup::ShowProgress()
{
    std::string text = "listening ... ";
    if (deadline) {
        const std::chrono::duration<double> left = *deadline - steady_clock::now();
        text += Compose(std::fixed, std::setprecision(1), std::max(left.count(), 0.0), " s left, ");
    }
    progress.Show(text + FoundText());
    progressTimer.expires_after(kProgressInterval);
    progressTimer.async_wait([this](const error_code& /*error*/) { ShowProgress(); });
}

bool CLookup::OnHeard(Message::Kind kind, const Heard& heard)
{
    for (const Event& each : devices.Record(kind, heard)) {
        Show(each);
        // A device that says Hello may be a listed one with a new wsa:Address. A round shows
        // whether the listed one still answers.
        if (kind == Message::Kind::kHello && each.kind == Event::Kind::kAppeared)
            rounds.AskSoon();
    }
    return devices.LacksXAddrs(heard);
}

void CLookup::Show(const Event& event)
{
    anyShown = true;
    anyMarked = anyMarked || AdvertisesOtherHost(event.heard.device, event.heard.source.address());
    progress.Clear();
    if (options.json)
        std::cout << ToJsonLine(event) + "\n";
    else
        table.Print(event);
    // One flush for all lines printed before the handler runs: a flush for each line would be slow
    // when many devices answer.
    if (!std::exchange(flushPosted, true)) {
        boost::asio::post(ioService, [this] {
            flushPosted = false;
            Flush();
        });
    }
}

/// Returns how many devices are listed, such as "2 found, by 3 paths", or "2 present" when
/// watching.
std::string CLookup::FoundText() const
{
    const auto count = devices.DeviceCount();
    const auto paths = devices.PathCount();
    return Compose(count, options.watch ? " present" : " found",
                   paths == count ? "" : Compose(", by ", paths, " paths"));
}

std::string CLookup::NotFoundText(double timeoutSeconds) const
{
    std::vector<std::string> asked;
    for (const auto& each : options.hosts)
        asked.push_back(Compose(each));
    const std::string at = asked.empty() ? " on " : " at ";
    if (asked.empty())
        asked = probers.AdapterNames();
    const std::string others = OthersText();
    const bool askedLoopback =
        options.hosts.empty() && options.adapterNames == std::vector<std::string>{"lo"};
    std::string hint;
    if (others.empty() && askedLoopback)
        hint = "; without --adapter all adapters but loopback are asked";
    else if (others.empty() && IsRecorder(options.sought)) // pelorin-doctor knows only recorders
        hint = Compose(
            "; pelorin-doctor client",
            options.hosts.empty() ? "" : " --to " + options.hosts.front().address().to_string(),
            " finds out why");
    return Compose("no ", Sought(options.sought), " answered within ", timeoutSeconds, " s", at,
                   Join(asked), others, IgnoredText(probers.Ignored()), DroppedText(), hint);
}

std::string CLookup::OthersText() const
{
    const std::size_t count = devices.OtherCount();
    if (count == 0)
        return "";
    return Compose("; ", count, count == 1 ? " other device" : " other devices",
                   " answered (--any lists them)");
}

std::string CLookup::DroppedText() const
{
    const std::uint64_t count = probers.DroppedCount();
    if (count == 0)
        return "";
    return Compose("; ", count,
                   " dropped because the receive buffer was full: ask again with --repeat, ",
                   "as root, or with a larger net.core.rmem_max (sysctl)");
}

} // namespace

int RunProbe(const ProbeOptions& options)
{
    return CLookup(options).Run();
}

} // namespace kx::tools
