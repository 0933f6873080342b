#pragma once

#include "document_source.h"
#include "plugin_library.h"
#include "signal_queue.h"

#include <chrono>
#include <optional>

namespace kx::tools {

/// Runs a plug-in as a server does, from Load to Unload, and prints each step.
///
/// @param source  supplies the documents; it has read the first one; SIGHUP makes it read again
/// @param limit   how long the plug-in runs; none: until SIGINT or SIGTERM arrives
///
/// Errors: std::runtime_error when the plug-in throws, for example because it cannot create a
/// thread, or when its run ends before it is asked to. A plug-in whose run threw is not unloaded,
/// because Unload would wait for the run forever.
/// Threads: the main thread; the plug-in is lent another one.
void RunPlugin(const CPluginLibrary& plugin, IDocumentSource& source, const CSignalQueue& signals,
               std::optional<std::chrono::steady_clock::duration> limit);

} // namespace kx::tools
