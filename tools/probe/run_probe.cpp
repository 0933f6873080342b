#include "run_probe.h"

#include "event_json.h"
#include "event_table.h"
#include "namespaces.h"
#include "prober.h"
#include "progress.h"
#include "run_tool.h"
#include "text.h"

#include <boost/asio/signal_set.hpp>

#include <algorithm>
#include <csignal>
#include <iomanip>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <unistd.h>
#include <utility>

using boost::system::error_code;
using std::chrono::steady_clock;

namespace kx::tools {
namespace {

constexpr int kExitNobody = 1;

constexpr std::chrono::milliseconds kLongestProbeInterval{250};
constexpr std::chrono::milliseconds kProgressInterval{100};

std::vector<Adapter> ChooseAdapters(const ProbeOptions& options)
{
    return options.all ? ReadUsableAdapters()
                       : SelectAdapters(ReadAdapters(), options.adapterNames);
}

/// One run of the tool: probers on the adapters, the list that they feed, and what shows it.
class CLookup {
public:
    explicit CLookup(const ProbeOptions& lookupOptions)
        : options(lookupOptions),
          devices(ExpandedName(options.namespaceUri, options.type), options.watch),
          table(std::cout, options.watch),
          signals(ioService),
          progressTimer(ioService)
    {
    }

    int Run();

private:
    void StartProbers(double timeoutSeconds);
    void ShowProgress(); ///< now and from then on
    void OnHeard(Message::Kind kind, const Heard& heard);
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
    std::vector<std::unique_ptr<CProber>> probers;
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
    if (probers.empty())
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
    int malformed = 0;
    for (const auto& prober : probers)
        malformed += prober->malformed;
    if (malformed > 0)
        Complain(kProbeName, Compose("ignored malformed answers: ", malformed));
    if (!std::cout)
        throw std::runtime_error("cannot write to standard output");
    if (!anybody && !interrupted) {
        Complain(kProbeName, Compose("nobody answered within ", timeoutSeconds, " s"));
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
    for (const Adapter& adapter : ChooseAdapters(options)) {
        try {
            auto prober = std::make_unique<CProber>(
                ioService, adapter, options.watch,
                [this](Message::Kind kind, const Heard& heard) { OnHeard(kind, heard); });
            prober->Start(MakeProbe(options.namespaceUri, options.type), schedule);
            probers.push_back(std::move(prober));
        } catch (const AdapterError& error) {
            Tell(error.what());
        }
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
    const std::optional<Event> event = devices.Take(kind, heard);
    if (!event)
        return;
    anybody = true;
    progress.Clear();
    if (options.json)
        std::cout << ToJsonLine(*event) + "\n" << std::flush;
    else
        table.Print(*event);
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
