#include "run_tool.h"

#include <cstdlib>
#include <exception>
#include <iostream>

namespace kx::tools {
namespace {

/// About thirty years: far below what the clock's nanoseconds can count.
constexpr double kLongestSeconds = 1e9;

} // namespace

int RunTool(int argc, char** argv, const char* name, const char* description,
            const std::function<void(CLI::App&)>& addOptions, const std::function<int()>& work)
{
    try {
        CLI::App app(description, name);
        addOptions(app);
        try {
            app.parse(argc, argv);
        } catch (const CLI::CallForHelp& help) {
            return app.exit(help);
        }
        return work();
    } catch (const CLI::ParseError& error) {
        Complain(name, std::string(error.what()) + "; see --help");
    } catch (const std::exception& error) {
        Complain(name, error.what());
    }
    return kExitError;
}

void Complain(const std::string& name, const std::string& text)
{
    std::cerr << name + ": " + text + '\n';
}

void AddAdapterOption(CLI::App& app, std::vector<std::string>& names, const char* description)
{
    // One name per --adapter: what follows it without another is a mistake.
    app.add_option("--adapter", names, description)
        ->allow_extra_args(false)
        ->type_name("NAME")
        ->capture_default_str();
}

CLI::Validator PositiveSeconds()
{
    return CLI::Validator(
        [](const std::string& text) {
            const double seconds = std::strtod(text.c_str(), nullptr);
            const bool good = seconds > 0 && seconds <= kLongestSeconds;
            return good ? std::string() : "not a positive number of seconds: " + text;
        },
        "");
}

std::chrono::steady_clock::duration ToDuration(double seconds)
{
    return std::chrono::duration_cast<std::chrono::steady_clock::duration>(
        std::chrono::duration<double>(seconds));
}

} // namespace kx::tools
