#include "run_probe.h"
#include "run_tool.h"
#include "text.h"

namespace kx::tools {
namespace {

constexpr char kDescription[] =
    "Asks recorders on the network to answer and lists those that do, as they do. An indented\n"
    "address is that of a recorder that is listed by another adapter, source or XAddrs as well.\n"
    "Exit status: 0 when somebody was heard or a signal ended --watch, 1 when nobody was, 2 on\n"
    "misuse or when no adapter can be used.";

constexpr int kMostTimes = 100;

/// Accepts a text that is not empty and holds none of the characters.
CLI::Validator TextWithout(const char* characters)
{
    return CLI::Validator(
        [characters](const std::string& text) {
            const bool good = !text.empty() && text.find_first_of(characters) == std::string::npos;
            return good ? std::string() : "no such name is possible: '" + text + "'";
        },
        "");
}

void AddOptions(CLI::App& app, ProbeOptions& options)
{
    AddAdapterOption(app, options.adapterNames, "Adapter to probe on; may be given several times");
    app.add_flag("--all", options.all, "All adapters with an IPv4 address but loopback")
        ->excludes(app.get_option("--adapter"));
    app.add_option("--type", options.type, "Device type to ask for")
        ->check(TextWithout(": \t\r\n"))
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--namespace", options.namespaceUri, "Namespace of the device type")
        ->check(TextWithout(" \t\r\n"))
        ->type_name("URI")
        ->capture_default_str();
    app.add_option("--timeout", options.timeoutSeconds,
                   "Time to listen; with --watch there is no end without it")
        ->check(PositiveSeconds())
        ->type_name("SECONDS")
        ->default_str(Compose(kDefaultTimeoutSeconds));
    app.add_option(
           "--repeat", options.times,
           "Times to send the Probe, at most 250 ms apart and within the first half of the "
           "timeout (2 s without one); a round trip counts from the latest before the answer")
        ->check(CLI::Range(1, kMostTimes).description(""))
        ->type_name("N")
        ->capture_default_str();
    app.add_flag(
        "--watch", options.watch,
        "Keep listening until SIGINT or SIGTERM, show who appears, changes and goes, and ask "
        "again who is still there");
    app.add_flag("--json", options.json, "Print JSON, one object a line");
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    ProbeOptions options;
    return RunTool(
        argc, argv, kProbeName, kDescription, [&](CLI::App& app) { AddOptions(app, options); },
        [&] { return RunProbe(options); });
}
