#pragma once

#include "document_source.h"
#include "plugin_library.h"
#include "signal_queue.h"

#include <chrono>
#include <optional>

namespace kx::tools {

/// Takes a plug-in through its whole life as a server does, from Load to Unload, and prints each
/// step.
///
/// @param source  the server and adapter documents, the first of them already read; SIGHUP has it
///                read again
/// @param limit   how long the plug-in runs; without one until SIGINT or SIGTERM comes
///
/// Errors: std::runtime_error when the plug-in throws, as it does when it cannot make a thread, or
/// when its run ends before it is asked to. A plug-in whose run ended in an exception is not
/// unloaded: it takes the run for alive and would wait for it for ever.
/// Threads: the main thread, which waits for signals and changes; the plug-in is lent another.
void RunPlugin(const CPluginLibrary& plugin, IDocumentSource& source, const CSignalQueue& signals,
               std::optional<std::chrono::steady_clock::duration> limit);

} // namespace kx::tools
