#include "adapter.h"
#include "load_generator.h"
#include "probe_message.h"
#include "run_tool.h"
#include "text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <limits>
#include <stdexcept>

namespace kx::tools {
namespace {

using boost::asio::ip::make_address_v4;

constexpr char kDescription[] =
    "Sends Probes to a recorder and prints, as JSON, how many it answered and how fast. For "
    "measurements in network namespaces.\n\n"
    "Exit status: 0 when the load was sent, whether answered or not, 2 on misuse or failure.";

struct LoadOptions {
    std::string destination;
    std::vector<std::string> adapterNames;
    std::uint64_t inFlight = 1;
    double rate = 0;
    double seconds = 10;
    std::uint64_t count = std::numeric_limits<std::uint64_t>::max();
    std::vector<std::string> messageFiles;
    bool noAnswer = false;
    std::string recordFile;
};

template <class Number>
CLI::Validator UpTo(Number max)
{
    return CLI::Range(Number{1}, max).description("");
}

void AddOptions(CLI::App& app, LoadOptions& options)
{
    app.add_option("--to", options.destination, "Address of the recorder, or the group's")
        ->required()
        ->check(CLI::Validator(CLI::ValidIPV4).description(""))
        ->type_name("ADDRESS");
    AddAdapterOption(app, options.adapterNames, "Adapter to send from; required for the group");
    app.add_option(
           "--in-flight", options.inFlight,
           "Keep N messages waiting for an answer: send the next when one is answered or lost")
        ->check(UpTo(100'000))
        ->type_name("N")
        ->capture_default_str();
    CLI::Option* rate =
        app.add_option("--rate", options.rate, "Send N messages a second, answered or not")
            ->check(UpTo(1e6))
            ->excludes("--in-flight")
            ->type_name("N");
    app.add_option("--seconds", options.seconds, "Stop sending after S seconds")
        ->check(PositiveSeconds())
        ->type_name("S")
        ->capture_default_str();
    app.add_option("--count", options.count, "Stop sending after N messages")
        ->check(CLI::PositiveNumber.description(""))
        ->type_name("N");
    app.add_option("--message", options.messageFiles,
                   Compose("Send this instead of a Probe for recorders; ", kIdentifierMark,
                           " in it stands for the identifier. Several are sent in turn"))
        ->allow_extra_args(false)
        ->type_name("FILE");
    CLI::Option* noAnswer =
        app.add_flag("--no-answer", options.noAnswer, "Do not wait for answers")->needs(rate);
    app.add_option("--record", options.recordFile,
                   "Write a line for each message: when it was sent and which addresses answered "
                   "within a second")
        ->excludes(noAnswer)
        ->type_name("FILE");
}

std::string ReadFile(const std::string& name)
{
    std::ifstream file(name);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file)
        throw std::runtime_error("cannot read " + name);
    return text;
}

std::vector<std::string> ReadTemplates(const LoadOptions& options)
{
    std::vector<std::string> texts;
    for (const std::string& each : options.messageFiles)
        texts.push_back(ReadFile(each));
    if (!texts.empty())
        return texts;
    ClientMessage probe = MakeProbe(RecorderType());
    return {probe.text.replace(probe.text.find(probe.identifier), probe.identifier.size(),
                               kIdentifierMark)};
}

/// Returns the percentile `share` (0 to 1) of the round trips, in microseconds; 0 if there are
/// none. Reorders them.
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
    load.templates = ReadTemplates(options);
    load.answered = !options.noAnswer;
    load.inFlight = options.inFlight;
    load.rate = options.rate;
    load.maxCount = options.count;
    load.maxTime = ToDuration(options.seconds);
    std::ofstream record;
    if (!options.recordFile.empty()) {
        record.open(options.recordFile);
        load.record = &record;
    }

    LoadResult result = CLoadGenerator(load).Run();
    const double seconds = result.elapsed.count();
    const std::uint64_t counted = load.answered ? result.answered : result.sent;
    const double rate = seconds > 0 ? static_cast<double>(counted) / seconds : 0;
    const nlohmann::ordered_json json{{"sent", result.sent},
                                      {"answered", result.answered},
                                      {"lost", result.lost},
                                      {"received", result.received},
                                      {"seconds", seconds},
                                      {"rate", rate},
                                      {"p50Us", Percentile(result.roundTrips, 0.5)},
                                      {"p99Us", Percentile(result.roundTrips, 0.99)}};
    std::cout << json.dump() << '\n';
    if (!record)
        throw std::runtime_error("cannot write " + options.recordFile);
    return 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    return RunTool(argc, argv, "pelorin-load", kDescription, AddOptions, Run);
}
