#pragma once

#include "host_records.h"

#include <tinyxml2.h>

#include <cstdint>

namespace kx {

/// Sets the callback for SendToHost, replacing an earlier one. Thread-safe.
void SetHostCallback(HostCallback callback);

/// Calls the host's callback with the data. Everything that the plug-in sends to the host goes
/// through this function. Not to be called before SetHostCallback.
///
/// @param command  kLogCommand or kRegisterCommand
/// @param data     valid for the host during the call only
/// @param length   bytes at `data`; includes the NUL of a text
/// @return the status that the host set; 0 if it set none
///
/// Errors: what the callback throws. Thread-safe; takes no lock.
std::uint32_t SendToHost(std::uint64_t command, const char* data, std::uint32_t length);

/// Sends a document to the host as XML text and ignores the status that the host returns.
///
/// Errors: std::bad_alloc, and what the callback throws. Thread-safe as long as the document does
/// not change.
void SendDocument(std::uint64_t command, const tinyxml2::XMLDocument& document);

} // namespace kx
