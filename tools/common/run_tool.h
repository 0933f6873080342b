#pragma once

#include <CLI/CLI.hpp>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace kx::tools {

/// Exit status for an invalid command line and for every error that prevents a tool's work.
inline constexpr int kExitError = 2;

/// Runs a tool: reads the command line, then calls `work`. Adds the options --version and --help.
///
/// @param name         the tool's error messages begin with it
/// @param description  what the tool does, for --help; line feeds only between paragraphs
/// @param addOptions   adds the tool's options, bound to variables that outlive this call
/// @param work         called after the options are read; returns the exit status
/// @return the exit status: that of `work`; 0 after --help and --version; kExitError, with one line
///         on standard error, when the command line is invalid or `work` throws
int RunTool(int argc, char** argv, const char* name, const char* description,
            const std::function<void(CLI::App&)>& addOptions, const std::function<int()>& work);

/// Runs a tool whose options are the fields of a struct; otherwise as the function above.
template <class Options>
int RunTool(int argc, char** argv, const char* name, const char* description,
            void (*addOptions)(CLI::App&, Options&), int (*work)(const Options&))
{
    Options options;
    return RunTool(
        argc, argv, name, description, [&](CLI::App& app) { addOptions(app, options); },
        [&] { return work(options); });
}

/// Writes "name: text" as one line to standard error.
void Complain(const std::string& name, const std::string& text);

/// Adds the option --adapter, which may be given several times.
///
/// @param names  in: the default, one name or none; out: the names on the command line, if any.
///               Outlives the parsing of the command line.
void AddAdapterOption(CLI::App& app, std::vector<std::string>& names, const char* description);

/// Returns a check for a positive number of seconds up to 1e9, fractions included.
///
/// Not CLI::PositiveNumber, which also accepts "nan" and times that the steady clock cannot hold.
CLI::Validator PositiveSeconds();

/// Converts a time in seconds that PositiveSeconds has accepted. A longer time could overflow.
std::chrono::steady_clock::duration ToDuration(double seconds);

} // namespace kx::tools
