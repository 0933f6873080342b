#pragma once

#include <pelorin/plugin.h>

#include <string>

namespace kx::tools {

enum class LogForm {
    kPlain,   ///< one line for each entry: time of day, label, text
    kColored, ///< the same with the colours of a terminal
    kJson,    ///< one line for each entry: a JSON object
};

/// Sets the form of everything printed from now on. Call it before a second thread exists.
void SetLogForm(LogForm form);

/// Prints a step of the host on standard output and flushes it. Thread-safe.
void Say(const std::string& text);

/// The host's callback, a PelorinHostCallback: prints the plug-in's records, as Say does, and
/// leaves the status at 0.
void OnPluginRequest(const PelorinHostRequest* request, PelorinHostReply* reply);

/// Returns how many times the plug-in reported that it stops all endpoints, which is the first
/// thing it does when a document brings a change. Thread-safe.
unsigned StopRecordCount();

} // namespace kx::tools
