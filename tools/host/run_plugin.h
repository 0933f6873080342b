#pragma once

#include "plugin_library.h"
#include "stop_signals.h"

#include <chrono>
#include <optional>
#include <string>

namespace kx::tools {

/// Takes a plug-in through its whole life as a server does, from Load to Unload, and prints each
/// step.
///
/// @param document  the server and adapter document
/// @param limit     how long the plug-in runs; without one until a stop signal comes
///
/// Errors: std::runtime_error when the plug-in throws, as it does when it cannot make a thread, or
/// when its run ends before it is asked to. A plug-in whose run ended in an exception is not
/// unloaded: it takes the run for alive and would wait for it for ever.
/// Threads: the main thread, which waits for the signals; the plug-in is lent another.
void RunPlugin(const PluginLibrary& plugin, const std::string& document,
               const StopSignals& stopSignals,
               std::optional<std::chrono::steady_clock::duration> limit);

} // namespace kx::tools
