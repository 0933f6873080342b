#pragma once

#include "host_records.h"

#include <string>

namespace kx {

/// Sets the host's one function; every Load does, the latest counts.
void SetHostCallback(HostCallback callback);

/// Hands a text to the host, its NUL included: the only way from the plug-in to the host.
///
/// @param command  kLogCommand or kRegisterCommand
/// @param text     the host may read it during the call only
/// @return the status that the host set, 0 if it set none
///
/// Synchronous: returns when the host's callback does. Must not be called before Load.
/// Threads: any, also at once; takes no lock.
std::uint32_t SendToHost(std::uint64_t command, const std::string& text);

} // namespace kx
