#pragma once

#include "plugin_context.h"

namespace kx {

/// Runs one endpoint on every connected adapter, restarts all of them on every change of the port
/// or of the adapters, and returns when a stop is requested.
///
/// Deliberate: looks for changes only when an entry point wakes it from its wait. It notices a
/// document that comes before the first wait or during a restart, or a stop that comes between its
/// check of the flag and its wait, only when it is woken again. If it looked before it waits, it
/// would start and stop endpoints at times when its server has sent nothing.
///
/// Errors: boost::thread_resource_error when the I/O service or its thread cannot be created;
/// exceptions of the host's callback; std::bad_alloc. `running` then stays set. During the final
/// stop such an exception ends the process.
/// Threads: a host thread, called the manager's thread here. The context may be freed as soon as
/// `running` is clear.
void RunDiscoveryLoop(PluginContext& context);

} // namespace kx
