#pragma once

namespace kx {

/// Tells the host who the module is: sends the registration document under kRegisterCommand.
///
/// The host's status is ignored, and nothing keeps the document from being sent twice.
/// Threads: any host thread, after Load.
void SendModuleRegistration();

} // namespace kx
