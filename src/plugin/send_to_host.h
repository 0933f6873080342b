#pragma once

#include "host_records.h"

#include <tinyxml2.h>

#include <cstdint>

namespace kx {

/// Sets the host's callback; a later call replaces it.
void SetHostCallback(HostCallback callback);

/// Passes data to the host's callback, the only way from the plug-in to the host, and returns when
/// the callback does. Not to be called before Load.
///
/// @param command  kLogCommand or kRegisterCommand
/// @param data     the host may read it during the call only
/// @param length   bytes at `data`, for a text its NUL included
/// @return the status that the host set, 0 if it set none
///
/// Errors: what the callback throws. Thread-safe; takes no lock.
std::uint32_t SendToHost(std::uint64_t command, const char* data, std::uint32_t length);

/// Prints a document and passes it to the host, as SendToHost does; the host's status is ignored.
void SendDocument(std::uint64_t command, const tinyxml2::XMLDocument& document);

} // namespace kx
