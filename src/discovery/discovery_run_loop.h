#pragma once

#include "plugin_context.h"

namespace kx {

/// The run loop: runs endpoints for the adapters in the context (see CDiscoveryManager::Start),
/// replaces all endpoints when the port or the adapters change, and returns when a stop is
/// requested.
///
/// Deliberate: first waits for the context's condition, then compares the port and the adapters. A
/// document that was applied before the first wait or during a change of endpoints therefore takes
/// effect only at the next wake-up. If the loop compared first, endpoints would also start and stop
/// while the server makes no call, which servers have never had to expect.
///
/// A stop that is requested just before the wait takes effect only at the next wake-up too, because
/// Close takes no lock.
///
/// Errors: boost::thread_resource_error when the I/O service or the I/O thread cannot be created;
/// std::bad_alloc; what the host's callback throws. After an error, `running` stays set. An
/// exception during the final stop ends the process.
/// Threads: manager, which is the host thread that makes this call. The context may be freed as
/// soon as `running` is clear.
void RunDiscoveryLoop(PluginContext& context);

} // namespace kx
