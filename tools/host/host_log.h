#pragma once

#include <pelorin/plugin.h>

#include <string>

namespace kx::tools {

enum class LogForm {
    kPlain,   ///< a line an entry: time of day, label, text
    kColored, ///< the same with colours of a terminal
    kJson,    ///< a JSON object an entry and line
};

/// Sets the form of all that is printed from here on; before there is a second thread.
void SetLogForm(LogForm form);

/// Prints a step of the host's own on standard output. The line is flushed.
///
/// Threads: any, also at once; entries come out whole.
void Say(const std::string& text);

/// The callback that the plug-in is given: prints what the plug-in sends, as Say does, and leaves
/// the status at 0. A PelorinHostCallback.
void OnPluginRequest(const PelorinHostRequest* request, PelorinHostReply* reply);

/// How often the plug-in has reported that it stops all endpoints, the first thing it does when a
/// document brought a change. Threads: any.
unsigned StopRecordCount();

} // namespace kx::tools
