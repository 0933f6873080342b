#pragma once

#include "plugin_context.h"

#include <cstdint>

namespace kx {

/// Reads a server and adapter document as ReadServerDocument does, publishes the server's port and
/// its adapters in the context and wakes the run loop.
///
/// A document that cannot be read is dropped silently and changes nothing.
/// Thread-safe: of concurrent documents the last one wins. Holds the context's mutex only while it
/// swaps the lists.
void ApplyServerDocument(PluginContext& context, const char* text, std::int32_t length);

} // namespace kx
