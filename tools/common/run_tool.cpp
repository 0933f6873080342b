#include "run_tool.h"

#include "terminal.h"
#include "text.h"
#include "version.h"

#include <cstdlib>
#include <exception>
#include <iostream>
#include <memory>
#include <sstream>

namespace kx::tools {
namespace {

/// Maximum of a time on the command line, about 32 years. The steady clock overflows after 292.
constexpr double kMaxSeconds = 1e9;

/// Formats the help as CLI11 does, but wraps descriptions at the terminal's width, shows only the
/// value's type after an option's name, and puts the default value after the description.
class CHelpFormatter : public CLI::Formatter {
public:
    explicit CHelpFormatter(std::size_t terminalWidth) : width(terminalWidth) {}

    std::string make_description(const CLI::App* app) const override
    {
        return Wrap(app->get_description(), width) + "\n";
    }

    /// Returns only the type of the value: CLI11 would add the options that exclude this one, a
    /// long list.
    std::string make_option_opts(const CLI::Option* option) const override
    {
        const bool isFlag = option->get_type_size() == 0;
        return isFlag ? "" : " " + option->get_type_name();
    }

    std::string make_option_desc(const CLI::Option* option) const override
    {
        const std::string standard = option->get_default_str();
        return WrapBesideName(option->get_description() +
                              (standard.empty() ? "" : " (default: " + standard + ")"));
    }

    std::string make_subcommand(const CLI::App* subcommand) const override
    {
        std::ostringstream out;
        CLI::detail::format_help(out, subcommand->get_display_name(true),
                                 WrapBesideName(subcommand->get_description()), column_width_);
        return out.str();
    }

private:
    std::string WrapBesideName(const std::string& text) const
    {
        return Wrap(text, width > 2 * column_width_ ? width - column_width_ : column_width_);
    }

    const std::size_t width;
};

/// Rewords messages of CLI11 such as "--adapter: 1 required NAME missing" as "--adapter needs a
/// value, NAME", and adds "see --help" to all messages.
std::string Explain(const CLI::ParseError& error)
{
    // Not std::regex, which overflows the stack on an argument of 40,000 characters.
    const std::string middle = ": 1 required ";
    const std::string end = " missing";
    std::string text = error.what();
    const auto found = text.find(middle);
    if (found != std::string::npos && EndsWith(text, end)) {
        text.erase(text.size() - end.size());
        text.replace(found, middle.size(), " needs a value, ");
    }
    return text + "; see --help";
}

} // namespace

int RunTool(int argc, char** argv, const char* name, const char* description,
            const std::function<void(CLI::App&)>& addOptions, const std::function<int()>& work)
{
    try {
        CLI::App app(description, name);
        app.formatter(std::make_shared<CHelpFormatter>(TerminalWidth()));
        app.set_help_flag("-h,--help", "Print this help and exit");
        app.set_version_flag("--version", name + (" " + VersionText()),
                             "Print the version and exit");
        addOptions(app);
        try {
            app.parse(argc, argv);
        } catch (const CLI::Success& helpOrVersion) {
            return app.exit(helpOrVersion);
        }
        return work();
    } catch (const CLI::ParseError& error) {
        Complain(name, Explain(error));
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
    // Without allow_extra_args(false), CLI11 takes all words up to the next option as names.
    CLI::Option* option =
        app.add_option("--adapter", names, description)->allow_extra_args(false)->type_name("NAME");
    if (!names.empty())
        option->default_str(names.front());
}

CLI::Validator PositiveSeconds()
{
    return CLI::Validator(
        [](const std::string& text) {
            char* end = nullptr;
            const double seconds = std::strtod(text.c_str(), &end);
            const bool good = *end == '\0' && seconds > 0 && seconds <= kMaxSeconds;
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
