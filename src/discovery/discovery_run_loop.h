#pragma once

#include "plugin_context.h"

namespace kx {

/// The plug-in's active life: keeps one endpoint going on every connected adapter, restarts all of
/// them on every change of the port or of the adapters, and ends when a stop is requested.
///
/// Deliberate: a change that was published before the loop's first wait is acted on only at the
/// next broadcast, and so is a stop that falls between its look at the flag and its wait.
///
/// Errors: boost::system::system_error when the I/O service cannot be made,
/// boost::thread_resource_error when its thread cannot; `running` then stays set.
/// Threads: a host thread, which becomes the manager's thread. The context may be freed as soon as
/// `running` is clear.
void RunDiscoveryLoop(PluginContext& context);

} // namespace kx
