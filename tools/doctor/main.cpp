#include "client_run.h"
#include "recorder_run.h"
#include "report.h"
#include "run_tool.h"
#include "terminal.h"

#include <boost/asio/ip/address_v4.hpp>

#include <algorithm>
#include <iostream>
#include <stdexcept>

namespace kx::tools {
namespace {

constexpr int kExitFault = 1;

constexpr char kDescription[] =
    "Finds out why a recorder is not found: run it as \"client\" where it should be found, "
    "and as \"recorder\" on the recorder. Run it as root, or some checks are left out.\n"
    "Exit status: 0 without a fault, 1 with one, 2 on misuse.";

struct DoctorOptions {
    std::vector<std::string> adapterNames;
    std::string target;
    double watchSeconds = kDefaultWatchSeconds;
    bool json = false;
    const CLI::App* recorder = nullptr;
};

CLI::Validator Ipv4Address()
{
    return CLI::Validator(
        [](const std::string& text) {
            boost::system::error_code error;
            boost::asio::ip::make_address_v4(text, error);
            return error ? "not an IPv4 address: " + text : std::string();
        },
        "");
}

void AddOptions(CLI::App& app, DoctorOptions& options)
{
    CLI::App* client = app.add_subcommand(
        "client", "Looks for recorders as a client does, and examines the answers");
    CLI::App* recorder = app.add_subcommand(
        "recorder", "Examines this machine as a recorder, and the Probes that arrive");
    app.require_subcommand(1);
    for (CLI::App* role : {client, recorder}) {
        AddAdapterOption(*role, options.adapterNames,
                         "Adapter to examine; may be given several times. Default: all but "
                         "loopback that have an IPv4 address");
        role->add_flag("--json", options.json, "Print JSON, one object a line");
    }
    client->add_option("--to", options.target, "IPv4 address of a recorder to ask directly as well")
        ->check(Ipv4Address())
        ->type_name("ADDRESS");
    recorder->add_option("--for", options.watchSeconds, "Time to watch for Probes")
        ->check(PositiveSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
    options.recorder = recorder;
}

ReportForm FormFor(const DoctorOptions& options)
{
    if (options.json)
        return ReportForm::kJson;
    return WantsColor() ? ReportForm::kColored : ReportForm::kPlain;
}

int RunDoctor(const DoctorOptions& options)
{
    const Findings findings = options.recorder->parsed()
                                  ? ExamineRecorder(options.adapterNames, options.watchSeconds)
                                  : ExamineClient(options.adapterNames, options.target);
    Print(std::cout, findings, FormFor(options));
    if (!std::cout)
        throw std::runtime_error("cannot write to standard output");
    const bool anyFault = std::any_of(findings.begin(), findings.end(), [](const Finding& each) {
        return each.level == Level::kFault;
    });
    return anyFault ? kExitFault : 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    DoctorOptions options;
    return RunTool(
        argc, argv, kDoctorName, kDescription, [&](CLI::App& app) { AddOptions(app, options); },
        [&] { return RunDoctor(options); });
}
