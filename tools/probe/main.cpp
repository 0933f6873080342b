#include "answer_table.h"
#include "run_tool.h"
#include "text.h"

#include <iostream>
#include <list>

namespace kx::tools {
namespace {

constexpr char kToolName[] = "pelorin-probe";
constexpr int kExitNobody = 1;

struct ProbeOptions {
    std::vector<std::string> adapterNames{"lo"};
    std::string type = "NetworkVideoRecorder";
    double timeoutSeconds = 2;
};

void AddOptions(CLI::App& app, ProbeOptions& options)
{
    AddAdapterOption(app, options.adapterNames, "Adapter to probe on; may be given several times");
    app.add_option("--type", options.type, "Device type to ask for")
        ->type_name("NAME")
        ->capture_default_str();
    app.add_option("--timeout", options.timeoutSeconds, "Time to wait for answers")
        ->check(PositiveSeconds())
        ->type_name("SECONDS")
        ->capture_default_str();
}

int Probe(const ProbeOptions& options)
{
    const std::vector<Adapter> adapters = SelectAdapters(ReadAdapters(), options.adapterNames);
    boost::asio::io_context ioService;
    AnswerTable table;
    std::list<Prober> probers; // a list, since a prober cannot move
    for (const Adapter& adapter : adapters)
        probers.emplace_back(ioService, adapter, [&](const Answer& answer) { table.Add(answer); });
    for (Prober& prober : probers)
        prober.Start(MakeProbe(options.type));
    ioService.run_for(ToDuration(options.timeoutSeconds));

    int malformed = 0;
    for (const Prober& prober : probers)
        malformed += prober.malformed;
    if (malformed > 0)
        Complain(kToolName, Compose("ignored malformed answers: ", malformed));
    if (table.Empty()) {
        Complain(kToolName, Compose("nobody answered within ", options.timeoutSeconds, " s"));
        return kExitNobody;
    }
    table.Print(std::cout);
    return 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    ProbeOptions options;
    return RunTool(
        argc, argv, kToolName, "Asks recorders on the network to answer and lists those that do.",
        [&](CLI::App& app) { AddOptions(app, options); }, [&] { return Probe(options); });
}
