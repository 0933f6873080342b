#pragma once

#include "plugin_context.h"

namespace kx {

/// The plug-in's active life: keeps one endpoint going on every connected adapter, restarts all of
/// them on every change of the port or of the adapters, and ends when a stop is requested.
///
/// Deliberate: only a broadcast that finds the loop waiting is acted on. A document that comes
/// before the first wait, or while endpoints are being restarted, counts from the next broadcast
/// on; so does a stop that falls between the loop's look at the flag and its wait.
///
/// Errors: boost::system::system_error when the I/O service cannot be made,
/// boost::thread_resource_error when its thread cannot; `running` then stays set.
/// Threads: a host thread, which becomes the manager's thread. The context may be freed as soon as
/// `running` is clear.
void RunDiscoveryLoop(PluginContext& context);

} // namespace kx
