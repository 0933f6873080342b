#pragma once

#include "host_records.h"

#include <tinyxml2.h>

#include <cstdint>

namespace kx {

/// Sets the host's one function; every Load does, the latest counts.
void SetHostCallback(HostCallback callback);

/// Hands data to the host: the only way from the plug-in to the host.
///
/// @param command  kLogCommand or kRegisterCommand
/// @param data     the host may read it during the call only
/// @param length   bytes at `data`, for a text its NUL included
/// @return the status that the host set, 0 if it set none
///
/// Synchronous: returns when the host's callback does. Must not be called before Load.
/// Threads: any, also at once; takes no lock.
std::uint32_t SendToHost(std::uint64_t command, const char* data, std::uint32_t length);

/// Prints a document and hands it to the host; the host's status is ignored.
///
/// Otherwise as SendToHost.
void SendDocument(std::uint64_t command, const tinyxml2::XMLDocument& document);

} // namespace kx
