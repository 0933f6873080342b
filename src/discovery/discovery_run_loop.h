#pragma once

#include "plugin_context.h"

namespace kx {

/// Runs one endpoint on every connected adapter, restarts all of them on every change of the port
/// or of the adapters, and returns when a stop is requested.
///
/// Deliberate: acts only on a broadcast that finds the loop waiting. A document that comes before
/// the first wait, or during a restart, waits for the next broadcast; so does a stop that comes
/// between the loop's check of the flag and its wait. A loop that compared before it waits would
/// start and stop endpoints at times when its server has sent nothing.
///
/// Errors: boost::thread_resource_error when the I/O service or its thread cannot be created;
/// exceptions of the host's callback; std::bad_alloc. `running` then stays set. During the final
/// stop such an exception ends the process.
/// Threads: a host thread, called the manager's thread here. The context may be freed as soon as
/// `running` is clear.
void RunDiscoveryLoop(PluginContext& context);

} // namespace kx
