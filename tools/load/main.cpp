#include "adapter.h"
#include "load_generator.h"
#include "probe_message.h"
#include "run_tool.h"
#include "text.h"
#include "uris.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <limits>
#include <stdexcept>

namespace kx::tools {
namespace {

using boost::asio::ip::make_address_v4;

constexpr char kDescription[] =
    "Sends Probes to a recorder, counts its answers and tells how long they took. For the\n"
    "developers' measurements; the recorder of an own network namespace is the one to ask.\n"
    "Exit status: 0 when the load was sent, whatever came of it, 2 on misuse or failure.";

struct LoadOptions {
    std::string destination;
    std::vector<std::string> adapterNames;
    std::uint64_t inFlight = 1;
    double rate = 0;
    double seconds = 10;
    std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
    int sources = 1;
    std::optional<std::string> messageFile;
    bool noAnswer = false;
    bool json = false;
};

template <class Number>
CLI::Validator UpTo(Number most)
{
    return CLI::Range(Number{1}, most).description("");
}

void AddOptions(CLI::App& app, LoadOptions& options)
{
    app.add_option("--to", options.destination, "Address of the recorder, or the group's")
        ->required()
        ->check(CLI::Validator(CLI::ValidIPV4).description(""))
        ->type_name("ADDRESS");
    AddAdapterOption(app, options.adapterNames, "Adapter to send from; a must for the group");
    app.add_option("--in-flight", options.inFlight,
                   "Send the next message when one is answered or lost, with N on their way")
        ->check(UpTo(100'000))
        ->type_name("N")
        ->capture_default_str();
    CLI::Option* rate =
        app.add_option("--rate", options.rate, "Send N a second, whatever is answered")
            ->check(UpTo(1e6))
            ->excludes("--in-flight")
            ->type_name("N");
    app.add_option("--seconds", options.seconds, "Time to send at most")
        ->check(PositiveSeconds())
        ->type_name("S")
        ->capture_default_str();
    app.add_option("--count", options.count, "Messages to send at most")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("N");
    app.add_option("--sources", options.sources, "Ports to send from, in turn")
        ->check(UpTo(1'000))
        ->type_name("K")
        ->capture_default_str();
    app.add_option("--message", options.messageFile,
                   Compose("Send this instead of a Probe for recorders; ", kIdentifierMark,
                           " in it stands for the identifier"))
        ->type_name("FILE");
    app.add_flag("--no-answer", options.noAnswer, "Wait for no answers")->needs(rate);
    app.add_flag("--json", options.json, "Print JSON");
}

std::string ReadForm(const LoadOptions& options)
{
    if (!options.messageFile) {
        ProbeMessage probe = MakeProbe(kVendorDiscoveryUri, "NetworkVideoRecorder");
        return probe.text.replace(probe.text.find(probe.identifier), probe.identifier.size(),
                                  kIdentifierMark);
    }
    std::ifstream file(*options.messageFile);
    std::string form{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw std::runtime_error("cannot read " + *options.messageFile);
    if (!options.noAnswer && form.find(kIdentifierMark) == std::string::npos)
        throw std::runtime_error(Compose("no answer can be told apart without ", kIdentifierMark,
                                         " in the message; give --no-answer"));
    return form;
}

/// The time that this share of the round trips does not exceed, in microseconds.
double Percentile(std::vector<std::uint32_t>& roundTrips, double share)
{
    if (roundTrips.empty())
        return 0;
    const auto at = roundTrips.begin() +
                    static_cast<std::ptrdiff_t>(share * static_cast<double>(roundTrips.size() - 1));
    std::nth_element(roundTrips.begin(), at, roundTrips.end());
    return *at / 1e3;
}

int Run(const LoadOptions& options)
{
    Load load;
    load.destination = make_address_v4(options.destination);
    if (!options.adapterNames.empty())
        load.from =
            make_address_v4(SelectAdapters(ReadAdapters(), options.adapterNames).front().ipAddress);
    else if (load.destination.is_multicast())
        throw std::runtime_error("name the adapter of the group with --adapter");
    load.sources = options.sources;
    load.form = ReadForm(options);
    load.answered = !options.noAnswer;
    load.inFlight = options.inFlight;
    load.rate = options.rate;
    load.count = options.count;
    load.time = ToDuration(options.seconds);

    LoadResult result = CLoadGenerator(load).Run();
    const double seconds = result.elapsed.count();
    const std::uint64_t counted = load.answered ? result.answered : result.sent;
    const double rate = seconds > 0 ? static_cast<double>(counted) / seconds : 0;
    const double median = Percentile(result.roundTrips, 0.5);
    const double slow = Percentile(result.roundTrips, 0.99);
    if (options.json) {
        const nlohmann::ordered_json json{{"sent", result.sent}, {"answered", result.answered},
                                          {"lost", result.lost}, {"seconds", seconds},
                                          {"rate", rate},        {"p50Us", median},
                                          {"p99Us", slow}};
        std::cout << json.dump() << '\n';
    } else {
        std::cout << Compose(std::fixed, std::setprecision(1), "sent ", result.sent, ", answered ",
                             result.answered, ", lost ", result.lost, " in ", seconds, " s: ", rate,
                             "/s, round trip p50 ", median, " us, p99 ", slow, " us\n");
    }
    return 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    LoadOptions options;
    return RunTool(
        argc, argv, "pelorin-load", kDescription, [&](CLI::App& app) { AddOptions(app, options); },
        [&] { return Run(options); });
}
