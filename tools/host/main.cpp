#include "check_files.h"
#include "document_source.h"
#include "host_document.h"
#include "host_log.h"
#include "plugin_library.h"
#include "run_plugin.h"
#include "run_tool.h"
#include "terminal.h"
#include "text.h"

#include <csignal>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <vector>

namespace kx::tools {
namespace {

constexpr int kMaxPort = 65535;
constexpr char kDescription[] =
    "Runs the discovery plug-in and prints what it reports. SIGHUP reads the adapters or the "
    "document again and hands them over once more; SIGINT and SIGTERM end the host.";

struct HostOptions {
    std::vector<std::string> adapterNames{"lo"};
    bool all = false;
    bool follow = false;
    int port = kDefaultServerPort;
    std::optional<std::string> documentFile;
    bool check = false;
    std::vector<std::string> checkedFiles;
    bool elsewhere = false;
    std::optional<double> limitSeconds;
    std::optional<std::string> pluginFile;
    bool json = false;
};

void AddOptions(CLI::App& app, HostOptions& options)
{
    AddAdapterOption(app, options.adapterNames,
                     "Adapter that the recorder is on; may be given several times");
    CLI::Option* adapter = app.get_option("--adapter");
    CLI::Option* all =
        app.add_flag("--all", options.all, "All adapters but loopback")->excludes(adapter);
    CLI::Option* follow =
        app.add_flag("--follow", options.follow,
                     "Hand over the adapters whenever they, their links or addresses change; "
                     "an adapter may appear later");
    CLI::Option* port = app.add_option("--port", options.port, "Port that the recorder serves on")
                            ->check(CLI::Range(1, kMaxPort).description(""))
                            ->type_name("PORT")
                            ->capture_default_str();
    CLI::Option* document =
        app.add_option("--document", options.documentFile,
                       "Hand over this document, whatever it holds; - for standard input, once")
            ->excludes(adapter, all, follow, port)
            ->type_name("FILE");
    CLI::Option* limit = app.add_option("--for", options.limitSeconds,
                                        "Time to run; by default until SIGINT or SIGTERM")
                             ->check(PositiveSeconds())
                             ->type_name("SECONDS");
    CLI::Option* plugin =
        app.add_option("--plugin", options.pluginFile,
                       "Plug-in; by default pelorin.so beside this file, or the installed one")
            ->type_name("FILE");
    CLI::Option* check =
        app.add_flag("--check", options.check,
                     "Explain how the plug-in reads the documents in the files, without running it")
            ->excludes(adapter, all, follow, port, document, limit, plugin);
    check->needs(app.add_option("FILE", options.checkedFiles,
                                "With --check: a server's document; - for standard input")
                     ->type_name(""));
    // Not needs(check) for FILE: CLI11 takes "eth0" in "--adaptr eth0" for a FILE, and would then
    // report a missing --check instead of the misspelt option.
    app.callback([&options] {
        if (!options.check && !options.checkedFiles.empty())
            throw CLI::ExtrasError(options.checkedFiles);
    });
    app.add_flag("--elsewhere", options.elsewhere,
                 "With --check or --document: do not compare the document with this machine");
    app.add_flag("--json", options.json, "Print JSON, one object per line");
}

std::vector<Adapter> ReadListedAdapters(const HostOptions& options)
{
    if (options.all)
        return options.follow ? ReadNetworkAdapters() : ReadUsableAdapters();
    return options.follow ? FindAdapters(ReadAdapters(), options.adapterNames)
                          : SelectAdapters(ReadAdapters(), options.adapterNames);
}

std::unique_ptr<IDocumentSource> MakeSource(const HostOptions& options)
{
    if (options.documentFile)
        return std::make_unique<CFileSource>(*options.documentFile, options.elsewhere);
    return std::make_unique<CAdapterSource>(
        options.port, [&options] { return ReadListedAdapters(options); }, options.follow);
}

LogForm ChooseLogForm(bool json)
{
    if (json)
        return LogForm::kJson;
    return WantsColor() ? LogForm::kColored : LogForm::kPlain;
}

/// Prints the names that no adapter has, so that a user who misspelt one sees why nothing happens.
void SayWhatIsMissing(const std::vector<std::string>& names)
{
    const std::vector<Adapter> adapters = ReadAdapters();
    for (const std::string& name : names) {
        if (FindAdapters(adapters, {name}).empty())
            Say(Compose("There is no adapter ", name, " yet: waiting for it"));
    }
}

int Host(const HostOptions& options)
{
    if (options.check)
        return CheckFiles(options.checkedFiles, options.elsewhere, options.json);
    SetLogForm(ChooseLogForm(options.json));
    const std::unique_ptr<IDocumentSource> source = MakeSource(options);
    source->Read();
    if (options.follow && !options.all)
        SayWhatIsMissing(options.adapterNames);
    std::optional<std::chrono::steady_clock::duration> limit;
    if (options.limitSeconds)
        limit = ToDuration(*options.limitSeconds);

    // SIGPIPE would end the host when the reader of its output, such as head(1), ends first. The
    // plug-in would then send no Bye.
    std::signal(SIGPIPE, SIG_IGN);
    const CSignalQueue signals;
    const CPluginLibrary plugin(options.pluginFile ? std::filesystem::path(*options.pluginFile)
                                                   : OwnPluginFile());
    RunPlugin(plugin, *source, signals, limit);
    if (!std::cout)
        throw std::runtime_error("cannot write to standard output");
    return 0;
}

} // namespace
} // namespace kx::tools

int main(int argc, char** argv)
{
    using namespace kx::tools;
    return RunTool(argc, argv, "pelorin-host", kDescription, AddOptions, Host);
}
