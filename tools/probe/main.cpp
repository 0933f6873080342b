#include "discovery_group.h"
#include "run_probe.h"
#include "run_tool.h"
#include "text.h"
#include "uris.h"

#include <charconv>
#include <stdexcept>

namespace kx::tools {
namespace {

constexpr char kDescription[] =
    "Asks recorders on the network to answer and lists those that do. An indented address is that "
    "of a recorder that is also listed by another adapter, source or XAddrs.\n"
    "Exit status: 0 when a recorder was heard or a signal ended --watch, 1 when none was, 2 on "
    "misuse or when no adapter can be used.";

constexpr int kMaxTimes = 100;

/// Options as given. Probe() interprets them once all are read: the meaning of --type depends on
/// --namespace.
struct Texts {
    std::vector<std::string> hosts;
    std::string type = kDeviceType;
    std::string namespaceUri;
    bool any = false;
};

void AddOptions(CLI::App& app, ProbeOptions& options, Texts& texts)
{
    AddAdapterOption(app, options.adapterNames,
                     "Adapter to ask on; may be given several times. Default: all but loopback");
    app.add_option(
           "--to", texts.hosts,
           "Host to ask directly, across routers too; may be given several times. Nothing is "
           "sent to the group then")
        ->allow_extra_args(false)
        ->type_name("ADDRESS[:PORT]");
    CLI::Option* type =
        app.add_option(
               "--type", texts.type,
               "Device type to ask for: Name, prefix:Name or {URI}Name. The prefix goes onto "
               "the wire as given")
            ->type_name("TYPE")
            ->capture_default_str();
    CLI::Option* uri =
        app.add_option("--namespace", texts.namespaceUri,
                       "Namespace of the device type; not needed for ktz, dn, tds, wsdp, pub, wprt "
                       "and wscn")
            ->type_name("URI");
    app.add_flag("--any", texts.any, "List whatever answers, of any type")->excludes(type, uri);
    app.add_option("--timeout", options.timeoutSeconds,
                   "Time to listen; without it --watch has no end")
        ->check(PositiveSeconds())
        ->type_name("SECONDS")
        ->default_str(Compose(kDefaultTimeoutSeconds));
    app.add_option("--repeat", options.times,
                   "Times to send the Probe, at most 250 ms apart and within the first half of the "
                   "timeout (2 s without one)")
        ->check(CLI::Range(1, kMaxTimes).description(""))
        ->type_name("N")
        ->capture_default_str();
    app.add_flag("--watch", options.watch,
                 "Keep listening until SIGINT or SIGTERM, show what appears, changes and goes, and "
                 "ask again what is still there");
    app.add_flag("--wide", options.wide, "Show types and scopes as well");
    app.add_flag("--json", options.json, "Print JSON, one object a line");
}

/// Reads "ADDRESS[:PORT]", a value of --to. The default port is 3702.
///
/// Errors: std::runtime_error, with a text for the user.
boost::asio::ip::udp::endpoint ParseHost(const std::string& text)
{
    const auto colon = text.find(':');
    boost::system::error_code error;
    const auto address = boost::asio::ip::make_address_v4(text.substr(0, colon), error);
    std::uint16_t port = kDiscoveryPort;
    if (colon != std::string::npos) {
        const char* end = text.data() + text.size();
        const auto read = std::from_chars(text.data() + colon + 1, end, port);
        if (read.ec != std::errc() || read.ptr != end || port == 0)
            throw std::runtime_error("--to: invalid port: " + text);
    }
    if (error || address.is_unspecified())
        throw std::runtime_error("--to: not an IPv4 address: " + text);
    if (address.is_multicast())
        throw std::runtime_error("--to: not the address of a host: " + text);
    return {address, port};
}

int Probe(ProbeOptions& options, const Texts& texts)
{
    for (const std::string& each : texts.hosts)
        options.hosts.push_back(ParseHost(each));
    if (texts.any)
        options.sought.reset();
    else
        options.sought = ParseDeviceType(texts.type, texts.namespaceUri);
    return RunProbe(options);
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    ProbeOptions options;
    Texts texts;
    return RunTool(
        argc, argv, kProbeName, kDescription,
        [&](CLI::App& app) { AddOptions(app, options, texts); },
        [&] { return Probe(options, texts); });
}
