#pragma once

#include <pelorin/plugin.h>

#include <string>

namespace kx::tools {

enum class LogForm {
    kPlain,   ///< one line for each entry: time of day, a label such as "host" or "error", text
    kColored, ///< as kPlain, in the colours of a terminal
    kJson,    ///< one line for each entry: a JSON object
};

/// Sets the form of all later output. Not thread-safe: call it before a second thread exists.
void SetLogForm(LogForm form);

/// Prints what the host itself does, such as "Opened", on standard output and flushes it.
/// Thread-safe.
void Say(const std::string& text);

/// The host's PelorinHostCallback: prints a record of the plug-in on standard output, flushes it
/// and updates StopRecordCount. Does not change the reply. Thread-safe.
void OnPluginRequest(const PelorinHostRequest* request, PelorinHostReply* reply);

/// Returns how many times the plug-in has logged that it stops all endpoints. This is its first
/// record when it acts on a changed document, and when its run ends. Thread-safe.
unsigned StopRecordCount();

} // namespace kx::tools
