#pragma once

#include "plugin_context.h"

#include <cstdint>

namespace kx {

/// Takes in a server and adapter document: publishes the server's port and its connected adapters
/// in the context and wakes the run loop.
///
/// @param text    the document; a NUL at its end is not needed
/// @param length  bytes at `text`; -1: up to the first NUL
///
/// Errors: a document that is malformed, incomplete or not of Delta 0 is dropped silently and
/// changes nothing; so is any other negative length. An adapter that is not connected or not
/// complete is skipped.
/// Threads: any host thread; the last of several documents wins. The context's mutex is held for
/// the exchange only.
void ApplyServerDocument(PluginContext& context, const char* text, std::int32_t length);

} // namespace kx
