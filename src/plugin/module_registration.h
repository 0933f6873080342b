#pragma once

namespace kx {

/// Sends the registration document, which names the module to the host, under kRegisterCommand.
/// Each call sends it again. The host's status is ignored.
///
/// Threads: host, after Load.
void SendModuleRegistration();

} // namespace kx
