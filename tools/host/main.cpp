#include "plugin_library.h"
#include "run_plugin.h"
#include "run_tool.h"
#include "server_settings.h"

namespace kx::tools {
namespace {

constexpr int kLastPort = 65535;

struct HostOptions {
    std::vector<std::string> adapterNames{"lo"};
    int port = 22609;
    std::optional<double> limitSeconds;
    std::optional<std::string> pluginFile;
};

void AddOptions(CLI::App& app, HostOptions& options)
{
    AddAdapterOption(app, options.adapterNames,
                     "Adapter that the recorder is on; may be given several times");
    app.add_option("--port", options.port, "Port that the recorder serves on")
        ->check(CLI::Range(1, kLastPort).description(""))
        ->type_name("PORT")
        ->capture_default_str();
    app.add_option("--for", options.limitSeconds, "Time to run; otherwise until SIGINT or SIGTERM")
        ->check(PositiveSeconds())
        ->type_name("SECONDS");
    app.add_option("--plugin", options.pluginFile, "Plug-in; otherwise pelorin.so beside this file")
        ->type_name("FILE");
}

int Host(const HostOptions& options)
{
    const std::vector<Adapter> adapters = SelectAdapters(ReadAdapters(), options.adapterNames);
    const std::string document = MakeServerDocument(options.port, adapters);
    std::optional<std::chrono::steady_clock::duration> limit;
    if (options.limitSeconds)
        limit = ToDuration(*options.limitSeconds);

    const StopSignals stopSignals;
    const PluginLibrary plugin(options.pluginFile ? std::filesystem::path(*options.pluginFile)
                                                  : OwnPluginFile());
    RunPlugin(plugin, document, stopSignals, limit);
    return 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    HostOptions options;
    return RunTool(
        argc, argv, "pelorin-host", "Runs the discovery plug-in and prints what it reports.",
        [&](CLI::App& app) { AddOptions(app, options); }, [&] { return Host(options); });
}
