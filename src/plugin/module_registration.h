#pragma once

namespace kx {

/// Sends the registration document to the host: the plug-in's name, number and version.
///
/// Errors: std::bad_alloc, and what the host's callback throws.
/// Threads: host, after Load.
void SendModuleRegistration();

} // namespace kx
