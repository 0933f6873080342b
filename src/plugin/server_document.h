#pragma once

#include "plugin_context.h"

#include <cstdint>

namespace kx {

/// Stores the adapters and the port of a server and adapter document in the context and wakes the
/// run loop. A document without a port leaves the port as it is. A document that ReadServerDocument
/// cannot read changes nothing and is not logged.
///
/// @param text, length  as for ReadServerDocument
///
/// Errors: std::bad_alloc; nothing is changed then.
/// Thread-safe: of concurrent documents, the last one to be stored wins. Does not hold the
/// context's mutex while it reads the document.
void ApplyServerDocument(PluginContext& context, const char* text, std::int32_t length);

} // namespace kx
