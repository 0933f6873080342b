#include "run_probe.h"

#include "event_json.h"
#include "event_table.h"
#include "namespaces.h"
#include "probers.h"
#include "progress.h"
#include "rounds.h"
#include "run_tool.h"
#include "text.h"
#include "words.h"

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

constexpr int kExitNobody = 1;

constexpr std::chrono::milliseconds kLongestProbeInterval{250};
constexpr std::chrono::milliseconds kProgressInterval{100};

/// One run of the tool: probers on the adapters, the list that they feed, and what shows it.
///
/// The service is before all that waits in it.
class CLookup {
public:
    explicit CLookup(const ProbeOptions& lookupOptions)
        : options(lookupOptions),
          devices(ExpandedName(options.namespaceUri, options.type), options.watch),
          table(std::cout, options.watch),
          probers(
              ioService, options,
              [this](Message::Kind kind, const Heard& heard) { OnHeard(kind, heard); },
              [this](const std::string& text) { Tell(text); }),
          rounds(
              ioService, devices,
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
    void ShowProgress(); ///< now and from then on
    void OnHeard(Message::Kind kind, const Heard& heard);
    void Show(const Event& event);
    std::string Found() const;

    /// Complains on a line of its own.
    void Tell(const std::string& text)
    {
        progress.Clear();
        Complain(kProbeName, text);
    }

    const ProbeOptions& options;
    boost::asio::io_context ioService;
    CDeviceList devices;
    CEventTable table;
    CProgress progress;
    CProbers probers;
    CRounds rounds; ///< when watching
    boost::asio::signal_set signals;
    boost::asio::steady_timer progressTimer;
    std::optional<steady_clock::time_point> deadline;
    bool interrupted = false;
    bool anybody = false;
};

int CLookup::Run()
{
    const double timeoutSeconds = options.timeoutSeconds.value_or(kDefaultTimeoutSeconds);
    if (options.watch) {
        signals.add(SIGINT);
        signals.add(SIGTERM);
        signals.async_wait([this](const error_code& /*error*/, int /*signal*/) {
            interrupted = true;
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

    for (bool ended = false; !ended;) {
        try {
            deadline ? ioService.run_until(*deadline) : ioService.run();
            ended = true;
        } catch (const AdapterError& error) {
            Tell(error.what()); // the other adapters go on
        }
    }

    progress.Clear();
    if (const int malformed = probers.Malformed())
        Complain(kProbeName,
                 Compose("ignored answers, malformed or without a device: ", malformed));
    if (!std::cout)
        throw std::runtime_error("cannot write to standard output");
    if (!anybody && !interrupted) {
        Complain(kProbeName,
                 Compose("nobody answered within ", timeoutSeconds, " s on ",
                         options.all ? "any adapter but loopback; --adapter lo asks there"
                                     : Join(options.adapterNames) +
                                           "; --all asks on all adapters but loopback"));
        return kExitNobody;
    }
    if (!options.json)
        std::cerr << Found() + "\n";
    return 0;
}

void CLookup::StartProbers(double timeoutSeconds)
{
    // All within the first half of the time, so that there is as much for the last answers.
    const ProbeSchedule schedule{
        options.times,
        std::min<steady_clock::duration>(kLongestProbeInterval,
                                         ToDuration(timeoutSeconds) / (2 * options.times))};
    probers.Open();
    probers.Ask(schedule);
    if (options.watch) {
        probers.Follow([this] { rounds.AskSoon(); });
        rounds.Start();
    }
}

void CLookup::ShowProgress()
{
    std::string text = "listening ... ";
    if (deadline) {
        const std::chrono::duration<double> left = *deadline - steady_clock::now();
        text += Compose(std::fixed, std::setprecision(1), std::max(left.count(), 0.0), " s left, ");
    }
    progress.Show(text + Found());
    progressTimer.expires_after(kProgressInterval);
    progressTimer.async_wait([this](const error_code& /*error*/) { ShowProgress(); });
}

void CLookup::OnHeard(Message::Kind kind, const Heard& heard)
{
    for (const Event& each : devices.Take(kind, heard)) {
        Show(each);
        // It may be what somebody became who is listed already, and whether it answers is not
        // known.
        if (kind == Message::Kind::kHello && each.kind == Event::Kind::kAppeared)
            rounds.AskSoon();
    }
}

void CLookup::Show(const Event& event)
{
    anybody = true;
    progress.Clear();
    if (options.json)
        std::cout << ToJsonLine(event) + "\n" << std::flush;
    else
        table.Print(event);
}

/// "2 found, by 3 paths"; when watching, those that have not gone.
std::string CLookup::Found() const
{
    const auto count = devices.DeviceCount();
    const auto paths = devices.PathCount();
    return Compose(count, options.watch ? " present" : " found",
                   paths == count ? "" : Compose(", by ", paths, " paths"));
}

} // namespace

int RunProbe(const ProbeOptions& options)
{
    return CLookup(options).Run();
}

} // namespace kx::tools
