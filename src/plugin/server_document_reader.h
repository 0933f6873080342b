#pragma once

#include "adapter_record.h"

#include <tinyxml2.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace kx {

/// What the plug-in uses of a server and adapter document.
struct ServerSettings {
    std::optional<std::int32_t> port;    ///< no range check; empty: the document gives no port
    std::vector<AdapterRecord> adapters; ///< those that ReadAdapter accepts, in document order
};

/// Reads a server and adapter document.
///
/// @param text    the document; needs a NUL at its end only if `length` is -1
/// @param length  bytes at `text`; -1: up to the first NUL
/// @return nothing if tinyxml2 cannot parse the document, if an element of ServerElements is
///         missing, if Delta is missing or not 0, or if `length` is less than -1
///
/// Errors: std::bad_alloc. Thread-safe.
std::optional<ServerSettings> ReadServerDocument(const char* text, std::int32_t length);

// The steps of ReadServerDocument, public because pelorin-host --check explains a document by them.

/// Returns false if tinyxml2 cannot parse the text, and `document` then holds the error; returns
/// false without an error in `document` if `length` is less than -1.
bool ParseServerDocument(tinyxml2::XMLDocument& document, const char* text, std::int32_t length);

/// The elements that lead to the adapters, from the outermost to the innermost. If one is missing,
/// it and those after it are null. The document owns them.
struct ServerElements {
    const tinyxml2::XMLElement* root;
    const tinyxml2::XMLElement* servers; ///< null also if Delta of the root is missing or not 0
    const tinyxml2::XMLElement* server;
    const tinyxml2::XMLElement* network;
};

/// Finds at each level the first element with the right name.
ServerElements FindServerElements(const tinyxml2::XMLDocument& document);

/// Reads an integer attribute as sscanf(3) does with "%d". Returns false and leaves `value`
/// unchanged if the attribute is missing or does not begin with an integer.
bool ReadInteger(const tinyxml2::XMLElement& element, const char* name, std::int32_t& value);

/// Reads an Adapter element. Accepts it if MACAddress, Handle and IPAddress are not empty and
/// Connected is 1, and returns nullptr. Otherwise returns the name of the first attribute that does
/// not meet this condition; `adapter` may then be filled in part.
const char* ReadAdapter(const tinyxml2::XMLElement& element, AdapterRecord& adapter);

} // namespace kx
