#pragma once

#include "document_source.h"
#include "plugin_library.h"
#include "signal_queue.h"

#include <chrono>
#include <optional>

namespace kx::tools {

/// Runs a plug-in as a server does, from Load to Unload, and prints each step.
///
/// @param source   supplies the documents; its Read has been called
/// @param signals  SIGINT and SIGTERM end the run; SIGHUP makes the source read again
/// @param limit    maximum time of the run; none: unlimited
///
/// Errors: std::runtime_error if the run returns before it is asked to, and for every exception,
/// the plug-in's and the host's own. After an exception Unload is not called: the run may have
/// thrown, and Unload would then wait forever.
/// Threads: call it on the main thread. The plug-in's run gets a thread of its own.
void RunPlugin(const CPluginLibrary& plugin, IDocumentSource& source, const CSignalQueue& signals,
               std::optional<std::chrono::steady_clock::duration> limit);

} // namespace kx::tools
